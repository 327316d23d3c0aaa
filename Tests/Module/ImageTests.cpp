// The module's file: what it exports and imports, how Windows may load it, which version it says it is.

#include "Interception/ImportTable.h"
#include "Tests/Support/Module.h"
#include "Tests/Support/ThisBuild.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <winver.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace
{

using Zv::Testing::Module;

template <class T>
const T* At(const Module& module, std::uint32_t offset)
{
    return reinterpret_cast<const T*>(reinterpret_cast<const unsigned char*>(module.Handle()) + offset);
}

const IMAGE_NT_HEADERS64& Headers(const Module& module)
{
    return *At<IMAGE_NT_HEADERS64>(module, static_cast<std::uint32_t>(At<IMAGE_DOS_HEADER>(module, 0)->e_lfanew));
}

std::string Lower(std::string text)
{
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

TEST(ModuleImage, MayBeLoadedAnywhereInTheWholeAddressSpace)
{
    const Module module;
    const WORD characteristics = Headers(module).OptionalHeader.DllCharacteristics;

    EXPECT_TRUE((characteristics & IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE) != 0);
    EXPECT_TRUE((characteristics & IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA) != 0);
    EXPECT_TRUE((Headers(module).FileHeader.Characteristics & IMAGE_FILE_RELOCS_STRIPPED) == 0);
    EXPECT_TRUE((Headers(module).FileHeader.Characteristics & IMAGE_FILE_LARGE_ADDRESS_AWARE) != 0);
    EXPECT_GT(Headers(module).OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_BASERELOC].Size, 0U);
    EXPECT_GT(Headers(module).OptionalHeader.ImageBase, 0xffffffffU);
}

TEST(ModuleImage, RunsNoDataAndWritesNoCode)
{
    const Module module;
    const IMAGE_NT_HEADERS64& headers = Headers(module);

    EXPECT_TRUE((headers.OptionalHeader.DllCharacteristics & IMAGE_DLLCHARACTERISTICS_NX_COMPAT) != 0);
    const IMAGE_SECTION_HEADER* const sections = IMAGE_FIRST_SECTION(&headers);
    for (WORD i = 0; i < headers.FileHeader.NumberOfSections; ++i)
    {
        constexpr DWORD both = IMAGE_SCN_MEM_WRITE | IMAGE_SCN_MEM_EXECUTE;
        EXPECT_NE(sections[i].Characteristics & both, both) << "section " << i;
    }
}

TEST(ModuleImage, NeedsOnlyDllsThatWindowsShipsAndTheLoggingLibrary)
{
    const std::set<std::string> allowed{
        "advapi32.dll", "crypt32.dll", "kernel32.dll", "kernelbase.dll", "ntdll.dll",   "ole32.dll",
        "oleaut32.dll", "rpcrt4.dll",  "userenv.dll",  "wtsapi32.dll",   "logging.dll",
    };
    const Module module;
    std::set<std::string> needed;
    const Zv::Interception::ImportTable imports{module.Handle()};
    for (const Zv::Interception::Import& import : imports.Imports())
    {
        const std::string dll = Lower(import.dll);
        if (!Zv::Testing::ThisBuild::IsRunTimeDll(dll))
        {
            needed.insert(dll);
        }
    }
    EXPECT_THAT(needed, testing::IsSubsetOf(allowed));
    EXPECT_THAT(needed, testing::Contains("kernel32.dll"));
}

TEST(ModuleImage, TakesFromTheLowestDllOnlyWhatNoOtherHas)
{
    const Module module;
    const Zv::Interception::ImportTable imports{module.Handle()};
    std::vector<std::string> low;
    for (const Zv::Interception::Import& import : imports.Imports())
    {
        if (Lower(import.dll) == "ntdll.dll")
        {
            low.push_back(import.name);
        }
    }
    EXPECT_THAT(low, testing::UnorderedElementsAre("RtlGetVersion", "RtlDllShutdownInProgress"));
    EXPECT_TRUE(imports.Contains("kernelbase.dll", "GetStagedPackageOrigin")) << "kernel32.dll has it on no Windows";
    for (const char* const time : {"_time64", "_localtime64_s", "wcsftime"})
    {
        EXPECT_TRUE(imports.Contains(nullptr, time)) << time;
    }
}

TEST(ModuleImage, SaysItsVersion)
{
    const Module module;
    wchar_t path[MAX_PATH];
    ASSERT_GT(GetModuleFileNameW(module.Handle(), path, MAX_PATH), 0U);
    DWORD ignored = 0;
    std::vector<std::byte> resource(GetFileVersionInfoSizeW(path, &ignored));
    ASSERT_FALSE(resource.empty());
    ASSERT_TRUE(GetFileVersionInfoW(path, 0, static_cast<DWORD>(resource.size()), resource.data()));

    void* value = nullptr;
    UINT size = 0;
    ASSERT_TRUE(VerQueryValueW(resource.data(), L"\\", &value, &size));
    const auto* const fixed = static_cast<const VS_FIXEDFILEINFO*>(value);
    EXPECT_EQ(fixed->dwFileVersionMS, MAKELONG(ZV_VERSION_MINOR, ZV_VERSION_MAJOR));
    EXPECT_EQ(fixed->dwFileVersionLS, MAKELONG(0, ZV_VERSION_PATCH));
    EXPECT_EQ(fixed->dwFileType, VFT_DLL);

    ASSERT_TRUE(VerQueryValueW(resource.data(), LR"(\StringFileInfo\040904b0\OriginalFilename)", &value, &size));
    EXPECT_STREQ(static_cast<const wchar_t*>(value), L"WMIService.dll");
}

} // namespace
