// What a loaded DLL is made of.
#pragma once

#include <windows.h>

#include <cstddef>

namespace Zv::Benchmarks
{

struct Image
{
    std::size_t fileSize = 0;
    std::size_t loadedSize = 0;
    std::size_t importedDlls = 0;
    std::size_t importedFunctions = 0;
    std::size_t relocations = 0; // addresses to be changed when the image is not loaded where it was linked for
};

[[nodiscard]] Image Inspect(HMODULE module);

} // namespace Zv::Benchmarks
