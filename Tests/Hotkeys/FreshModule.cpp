#include "Tests/Hotkeys/FreshModule.h"

#include "Tests/Support/GuardHeap.h"
#include "Tests/Support/Module.h"

#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace Zv::Testing
{

namespace
{

HMODULE LoadCopy()
{
    static int copies = 0;
    const std::filesystem::path folder = TestFolder() / "hotkeys";
    std::filesystem::create_directories(folder);
    std::error_code ignored;
    if (copies == 0)
    {
        for (const auto& old : std::filesystem::directory_iterator{folder})
        {
            std::filesystem::remove(old, ignored); // what a running process uses stays
        }
    }
    const std::filesystem::path copy =
        folder / (std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++copies) + L".dll");
    for (int attempt = 0; attempt < 5; ++attempt) // another process may tidy up between the copy and the load
    {
        std::filesystem::copy_file(ModuleFolder() / "WMIService.dll", copy,
                                   std::filesystem::copy_options::overwrite_existing, ignored);
        if (const HMODULE module = LoadLibraryW(copy.c_str()))
        {
            return module;
        }
    }
    throw std::runtime_error{"the copy of WMIService.dll does not load"};
}

} // namespace

FreshModule::FreshModule() : m_module{LoadCopy()}
{
    GuardHeap::GuardIfAsked(m_module);
}

Tessel::Server::Services::ZVService* FreshModule::CreateService() const
{
    using Tessel::Server::Services::ZVCreateServiceFunction;
    const FARPROC factory = GetProcAddress(m_module, Tessel::Server::Services::ZVCreateServiceName);
    return reinterpret_cast<ZVCreateServiceFunction*>(reinterpret_cast<void*>(factory))();
}

} // namespace Zv::Testing
