#include "Interception/LoadWatch.h"

#include <winternl.h>

#include <stdexcept>
#include <utility>

namespace Zv::Interception
{

// As Microsoft's pages on LdrRegisterDllNotification describe it; no header has it.
struct LoadWatch::Notification
{
    ULONG flags;
    const UNICODE_STRING* fullName;
    const UNICODE_STRING* baseName;
    void* base;
    ULONG size;
};

namespace
{

constexpr ULONG ReasonLoaded = 1;

template <class Function>
Function* FunctionOfNtdll(const char* name)
{
    return reinterpret_cast<Function*>(
        reinterpret_cast<void (*)()>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), name)));
}

} // namespace

LoadWatch::LoadWatch(std::wstring fileName, std::function<void(HMODULE module)> onLoad)
    : m_fileName{std::move(fileName)},
      m_onLoad{std::move(onLoad)}
{
    using Callback = void CALLBACK(ULONG, const Notification*, void*) noexcept;
    const auto start = FunctionOfNtdll<NTSTATUS NTAPI(ULONG, Callback*, void*, void**)>("LdrRegisterDllNotification");
    if (start == nullptr || !NT_SUCCESS(start(0, &LoadWatch::Notify, this, &m_cookie)))
    {
        throw std::runtime_error{"the loader does not tell of the modules that it loads"};
    }
}

LoadWatch::~LoadWatch()
{
    if (const auto stop = FunctionOfNtdll<NTSTATUS NTAPI(void*)>("LdrUnregisterDllNotification"); stop != nullptr)
    {
        stop(m_cookie);
    }
}

void LoadWatch::Rethrow()
{
    if (const std::exception_ptr failure = std::exchange(m_failure, nullptr))
    {
        std::rethrow_exception(failure);
    }
}

void CALLBACK LoadWatch::Notify(ULONG reason, const Notification* notification, void* self) noexcept
{
    auto& watch = *static_cast<LoadWatch*>(self);
    const UNICODE_STRING& name = *notification->baseName;
    if (reason == ReasonLoaded &&
        CompareStringOrdinal(name.Buffer, name.Length / static_cast<int>(sizeof(wchar_t)), watch.m_fileName.c_str(),
                             static_cast<int>(watch.m_fileName.size()), TRUE) == CSTR_EQUAL)
    {
        watch.Loaded(static_cast<HMODULE>(notification->base));
    }
}

void LoadWatch::Loaded(HMODULE module) noexcept
{
    try
    {
        m_onLoad(module);
    }
    catch (...)
    {
        m_failure = std::current_exception();
    }
}

} // namespace Zv::Interception
