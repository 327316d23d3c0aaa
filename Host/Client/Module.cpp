#include "Host/Client/Module.h"

#include "Host/Text/Failure.h"
#include "Host/Text/SystemError.h"
#include "Platform/Windows/Utf8.h"

#include <string>
#include <system_error>

namespace Zv::Host
{

namespace
{

using Zv::Tessel::Server::Services::ZVCreateServiceFunction;
using Zv::Tessel::Server::Services::ZVCreateServiceName;

} // namespace

Module::Module(const std::filesystem::path& path)
{
    std::error_code error;
    const std::filesystem::path fullPath = std::filesystem::absolute(path, error).make_preferred();
    const std::string name = ToUtf8(fullPath.wstring());

    // What the module needs is looked for beside it and in the system folder, nowhere else.
    m_library.reset(
        LoadLibraryExW(fullPath.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32));
    if (!m_library)
    {
        throw Failure{ExitCode::ModuleMissing, "cannot load the module " + name + ": " +
                                                   SystemErrorText(GetLastError()) + "; name it with --module PATH"};
    }
    void* const factory = reinterpret_cast<void*>(GetProcAddress(m_library.get(), ZVCreateServiceName));
    if (factory == nullptr)
    {
        throw Failure{ExitCode::ModuleMissing, name + " is not the module: it does not export " + ZVCreateServiceName};
    }
    m_service.reset(reinterpret_cast<ZVCreateServiceFunction*>(factory)());
    if (!m_service)
    {
        throw Failure{ExitCode::ModuleMissing, "the module " + name + " made no service"};
    }
}

std::filesystem::path Module::PathOf(HMODULE library)
{
    std::wstring path(MAX_PATH, L'\0');
    for (;;)
    {
        const DWORD length = GetModuleFileNameW(library, path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size())
        {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

std::filesystem::path Module::DefaultPath()
{
    return PathOf(nullptr).parent_path() / L"WMIService.dll";
}

} // namespace Zv::Host
