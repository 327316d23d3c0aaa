// Every name that the module exports. Hosts link to none but the factory; the others serve the maker's own programs,
// and their decorated names are those of the compiler that built the module.

#include "Tests/Support/Module.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
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

std::vector<std::string> ExportedNames(const Module& module)
{
    const auto* const headers =
        At<IMAGE_NT_HEADERS64>(module, static_cast<std::uint32_t>(At<IMAGE_DOS_HEADER>(module, 0)->e_lfanew));
    const auto& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    const auto* const exports = At<IMAGE_EXPORT_DIRECTORY>(module, directory.VirtualAddress);
    const auto* const names = At<DWORD>(module, exports->AddressOfNames);
    std::vector<std::string> result;
    for (DWORD i = 0; i < exports->NumberOfNames; ++i)
    {
        result.emplace_back(At<char>(module, names[i]));
    }
    std::ranges::sort(result);
    return result;
}

TEST(ModuleExports, AreTheGoldenOnes)
{
    std::ifstream file{Zv::Testing::TestFolder() / "Exports.txt"};
    ASSERT_TRUE(file) << "the list is not beside this program";
    std::vector<std::string> golden;
    for (std::string line; std::getline(file, line);)
    {
        golden.push_back(line);
    }
    EXPECT_THAT(ExportedNames(Module{}), testing::ElementsAreArray(golden));
}

} // namespace
