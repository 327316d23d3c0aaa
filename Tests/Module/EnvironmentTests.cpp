// What surrounds the module has no say in what it does: neither files and variables nor folders that others can write
// to.

#include "Interception/ImportTable.h"
#include "Interception/LoadWatch.h"
#include "Tests/Support/Module.h"
#include "Tests/Support/Text.h"
#include "Tests/Support/ThisBuild.h"
#include "Tests/Support/Watchdog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <filesystem>
#include <set>
#include <string>
#include <system_error>
#include <vector>

namespace
{

using namespace Zv::Testing;
using Zv::Interception::Import;
using Zv::Interception::ImportTable;

TEST(ModuleEnvironment, CannotBeAskedFor)
{
    // No file, no registry value, no variable, no other library by a name from outside, no program but as the user.
    const std::set<std::string> ways{
        "CreateFileA",
        "CreateFileW",
        "fopen",
        "_wfopen",
        "_open",
        "_wopen",
        "RegOpenKeyExA",
        "RegOpenKeyExW",
        "RegGetValueA",
        "RegGetValueW",
        "RegQueryValueA",
        "RegQueryValueW",
        "getenv",
        "_wgetenv",
        "GetEnvironmentVariableA",
        "SearchPathA",
        "SearchPathW",
        "LoadLibraryA",
        "LoadLibraryExA",
        "LoadLibraryExW",
        "CreateProcessA",
        "CreateProcessW",
        "WinExec",
        "ShellExecuteW",
        "ShellExecuteExW",
        "system",
        "_wsystem",
        "_popen",
        "_wpopen",
        "GetEnvironmentVariableW",
        "GetCommandLineA",
        "GetCommandLineW",
        "RegOpenKeyExA",
        "GetEnvironmentStringsW",
    };
    const Module module;
    const ImportTable imports{module.Handle()};
    for (const Import& import : imports.Imports())
    {
        EXPECT_FALSE(ways.contains(import.name) && import.name != ThisBuild::RunTimesLoader)
            << import.dll << " " << import.name;
    }
}

std::vector<std::wstring> g_asked;
decltype(&LoadLibraryExW) g_loadLibrary = nullptr;

// In the place of LoadLibraryW or LoadLibraryExW: on this platform a function may be called with arguments that it does
// not have.
HMODULE WINAPI NoteAndLoad(const wchar_t* name, HANDLE file, DWORD flags)
{
    if (!ThisBuild::IsLoadedByTheRunTime(name))
    {
        g_asked.emplace_back(name);
    }
    return g_loadLibrary(name, file, flags);
}

TEST(ModuleEnvironment, NoLibraryIsLoadedByName)
{
    const Watchdog watchdog{"NoLibraryIsLoadedByName"};
    std::vector<Zv::Interception::Redirection> redirections;
    Zv::Interception::LoadWatch watch{L"WMIService.dll", [&redirections](HMODULE loaded) {
                                          const ImportTable imports{loaded};
                                          if (imports.Contains(nullptr, ThisBuild::RunTimesLoader))
                                          {
                                              redirections.push_back(
                                                  imports.Redirect("*", ThisBuild::RunTimesLoader, &NoteAndLoad));
                                              g_loadLibrary = redirections.back().Original<decltype(&LoadLibraryExW)>();
                                          }
                                      }};
    bool imported = false;
    {
        const Module module;
        watch.Rethrow();
        imported = ImportTable{module.Handle()}.Contains(nullptr, ThisBuild::RunTimesLoader);
        const Service service{module};
        Session session{service.Get()};
        for (const unsigned int function : {2U, 4U, 8U, 16U, 32U, 64U, 128U, 256U, 3U})
        {
            Zv::Testing::Run(
                service.Get(), session.Get(), function,
                LR"({"command":1,"commandType":1,"inputDataSize":1,"inputData":"AA==","returnDataSize":4,"property":"P",
                     "wmiClass":"C","wmiNamespace":"root\\none","name":"n","value":"v","password":"p"})");
        }
        session.End();
        redirections.clear();
    }
    EXPECT_EQ(g_loadLibrary != nullptr, imported);
    EXPECT_THAT(g_asked, testing::IsEmpty());
}

// A folder that somebody else can write to, as the current folder and the only one of PATH. In it lie libraries under
// the names of those that the module needs, and one more.
class PlantedFolder
{
public:
    PlantedFolder()
        : m_folder{TestFolder() / ("planted-" + std::to_string(GetCurrentProcessId()))},
          m_before{std::filesystem::current_path()}
    {
        std::filesystem::create_directories(m_folder);
        for (const wchar_t* const name : {L"userenv.dll", L"wtsapi32.dll", L"crypt32.dll", L"rpcrt4.dll", L"ole32.dll",
                                          L"oleaut32.dll", L"Logging.dll", OtherName})
        {
            std::filesystem::copy_file(TestFolder() / L"Logging.dll", m_folder / name);
        }
        std::filesystem::current_path(m_folder);
        m_path.resize(32767);
        m_path.resize(GetEnvironmentVariableW(L"PATH", m_path.data(), 32767));
        SetEnvironmentVariableW(L"PATH", m_folder.c_str());
    }
    PlantedFolder(const PlantedFolder&) = delete;
    PlantedFolder& operator=(const PlantedFolder&) = delete;
    ~PlantedFolder()
    {
        SetEnvironmentVariableW(L"PATH", m_path.c_str());
        std::filesystem::current_path(m_before);
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }

    [[nodiscard]] bool Holds(HMODULE module) const
    {
        wchar_t path[MAX_PATH] = L"";
        GetModuleFileNameW(module, path, MAX_PATH);
        return std::filesystem::path{path}.parent_path().filename() == m_folder.filename();
    }

    static constexpr wchar_t OtherName[] = L"zvplanted.dll";

private:
    std::filesystem::path m_folder;
    std::filesystem::path m_before;
    std::wstring m_path;
};

TEST(ModuleEnvironment, LibrariesOfTheCurrentFolderAndOfPathAreNotTaken)
{
    const PlantedFolder planted;
    const HMODULE other = LoadLibraryW(PlantedFolder::OtherName);
    ASSERT_NE(other, nullptr);
    ASSERT_TRUE(planted.Holds(other)) << "a library that only lies there is found there";
    FreeLibrary(other);

    // As Services/ZVService.h tells hosts to.
    const std::filesystem::path file = ModuleFolder() / L"WMIService.dll";
    const HMODULE module =
        LoadLibraryExW(file.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
    ASSERT_NE(module, nullptr) << GetLastError();
    std::set<std::string> looked;
    const ImportTable imports{module};
    for (const Import& import : imports.Imports())
    {
        if (looked.insert(import.dll).second)
        {
            const HMODULE needed = GetModuleHandleA(import.dll.c_str());
            EXPECT_NE(needed, nullptr) << import.dll;
            EXPECT_FALSE(planted.Holds(needed)) << import.dll;
        }
    }
    FreeLibrary(module);
}

} // namespace
