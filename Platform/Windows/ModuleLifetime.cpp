#include "Platform/Windows/ModuleLifetime.h"

#include "Platform/Windows/WindowsDeclarations.h"

#include <system_error>

namespace Zv::Tessel::Server::Shared
{

namespace
{

// By an address in this module.
bool Find(DWORD flags, HMODULE& module) noexcept
{
    return GetModuleHandleExW(flags | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<const wchar_t*>(&Find),
                              &module) != FALSE;
}

} // namespace

ModuleReference::ModuleReference()
{
    if (!Find(0, m_module))
    {
        throw std::system_error{static_cast<int>(GetLastError()), std::system_category()};
    }
}

ModuleReference::~ModuleReference()
{
    if (m_module != nullptr)
    {
        FreeLibrary(m_module);
    }
}

void ModuleReference::Pin() noexcept
{
    static_cast<void>(Find(GET_MODULE_HANDLE_EX_FLAG_PIN, m_module));
    m_module = nullptr; // not given back
}

bool ProcessIsEnding() noexcept
{
    return RtlDllShutdownInProgress() != FALSE;
}

} // namespace Zv::Tessel::Server::Shared
