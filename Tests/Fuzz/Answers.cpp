#include "Tests/Fuzz/Answers.h"

#include <wbemcli.h>

#include <iterator>

namespace Zv::Fuzz
{

std::int32_t Answers::Number() noexcept
{
    const std::uint8_t first = Byte();
    if (first < 0xF0)
    {
        return first;
    }
    std::uint32_t number = 0;
    for (int i = 0; i < 4; ++i)
    {
        number = number << 8 | Byte();
    }
    return static_cast<std::int32_t>(number);
}

HRESULT Answers::Status() noexcept
{
    static constexpr HRESULT Failures[] = {E_FAIL,
                                           E_OUTOFMEMORY,
                                           E_POINTER,
                                           E_UNEXPECTED,
                                           static_cast<HRESULT>(WBEM_E_FAILED),
                                           static_cast<HRESULT>(WBEM_E_NOT_FOUND),
                                           static_cast<HRESULT>(WBEM_E_ACCESS_DENIED),
                                           static_cast<HRESULT>(WBEM_E_INVALID_CLASS),
                                           static_cast<HRESULT>(WBEM_E_INVALID_QUERY),
                                           static_cast<HRESULT>(WBEM_E_INVALID_NAMESPACE),
                                           static_cast<HRESULT>(WBEM_E_INVALID_PARAMETER),
                                           static_cast<HRESULT>(WBEM_E_TRANSPORT_FAILURE),
                                           RPC_E_CHANGED_MODE,
                                           RPC_E_TOO_LATE,
                                           RPC_E_DISCONNECTED};
    const std::uint8_t choice = Byte();
    return choice < 0xE0 ? S_OK : Failures[choice % std::size(Failures)];
}

std::wstring Answers::Text()
{
    const std::uint8_t length = Byte();
    if (length == 0)
    {
        return L"a value";
    }
    if (length >= 0xF0)
    {
        // About as many as the longest response has, and more.
        return std::wstring(std::size_t{65'000} + 100 * (length - 0xF0U), static_cast<wchar_t>(Byte()));
    }
    std::wstring text;
    for (int i = 0; i < length - 1; ++i)
    {
        const std::uint8_t low = Byte();
        text += static_cast<wchar_t>(low < 0xC0 ? low : (low + 0x10) << 8 | Byte()); // 0xD000 on: surrogates
    }
    return text;
}

} // namespace Zv::Fuzz
