#include "Benchmarks/Image.h"

#include "Interception/ImportTable.h"

#include <array>
#include <filesystem>
#include <set>
#include <string>

namespace Zv::Benchmarks
{

namespace
{

template <class T>
const T* At(HMODULE module, std::size_t offset) noexcept
{
    return reinterpret_cast<const T*>(reinterpret_cast<const std::byte*>(module) + offset);
}

const IMAGE_OPTIONAL_HEADER64& Header(HMODULE module) noexcept
{
    const auto* const dos = At<IMAGE_DOS_HEADER>(module, 0);
    return At<IMAGE_NT_HEADERS64>(module, static_cast<std::size_t>(dos->e_lfanew))->OptionalHeader;
}

std::size_t CountRelocations(HMODULE module) noexcept
{
    const IMAGE_DATA_DIRECTORY& directory = Header(module).DataDirectory[IMAGE_DIRECTORY_ENTRY_BASERELOC];
    std::size_t count = 0;
    for (std::size_t offset = 0; offset < directory.Size;)
    {
        const auto* const block = At<IMAGE_BASE_RELOCATION>(module, directory.VirtualAddress + offset);
        const auto* const entries = reinterpret_cast<const WORD*>(block + 1);
        const std::size_t entryCount = (block->SizeOfBlock - sizeof *block) / sizeof *entries;
        for (std::size_t i = 0; i < entryCount; ++i)
        {
            count += entries[i] >> 12 != IMAGE_REL_BASED_ABSOLUTE ? 1 : 0; // which only fills up
        }
        offset += block->SizeOfBlock;
    }
    return count;
}

} // namespace

Image Inspect(HMODULE module)
{
    std::array<wchar_t, MAX_PATH> path{};
    GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
    const Interception::ImportTable imports{module};
    std::set<std::string> dlls;
    for (const Interception::Import& import : imports.Imports())
    {
        dlls.insert(import.dll);
    }
    return {static_cast<std::size_t>(std::filesystem::file_size(path.data())), Header(module).SizeOfImage, dlls.size(),
            imports.Imports().size(), CountRelocations(module)};
}

} // namespace Zv::Benchmarks
