#include "Tests/Abi/Host/Exceptions.h"

#include "Tests/Abi/Host/Check.h"

#include <windows.h>

namespace std
{

exception::exception(const char* text) noexcept : m_text{text}
{
    ++Abi::g_exceptionsAlive;
}

exception::exception(const exception& other) noexcept : m_text{other.m_text}
{
    ++Abi::g_exceptionsAlive;
}

exception::~exception()
{
    --Abi::g_exceptionsAlive;
    Abi::g_destroyedTooEarly += Abi::Local::alive;
}

const char* exception::what() const noexcept
{
    return m_text;
}

} // namespace std

namespace Abi
{

int g_exceptionsAlive = 0;
int g_destroyedTooEarly = 0;
int Local::alive = 0;

Local::Local()
{
    ++alive;
}

Local::~Local()
{
    --alive;
}

void ThrowStandard()
{
    const Local local;
    throw std::runtime_error{"the host's pipe is broken"};
}

void ThrowDisplaced()
{
    const Local local;
    throw Displaced{"displaced"};
}

void ThrowVirtual()
{
    const Local local;
    throw Virtual{"virtual"};
}

void ThrowOther()
{
    const Local local;
    throw Other{};
}

void ThrowNumber()
{
    const Local local;
    throw ThrownNumber;
}

void ThrowPointer()
{
    static std::runtime_error* thrown = nullptr; // stays for ever
    if (thrown == nullptr)
    {
        thrown = new std::runtime_error{"never copied"};
        --g_exceptionsAlive;
    }
    const Local local;
    throw thrown;
}

void CatchAndThrowAgain()
{
    try
    {
        ThrowStandard();
    }
    catch (...)
    {
        throw;
    }
}

void RaiseUnnamed()
{
    constexpr DWORD microsoftException = 0xe06d7363;
    constexpr ULONG_PTR magic = 0x19930520;
    const ULONG_PTR parameters[] = {magic, 0, 0, 0};
    const Local local;
    RaiseException(microsoftException, EXCEPTION_NONCONTINUABLE, 4, parameters);
}

} // namespace Abi
