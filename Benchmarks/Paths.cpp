#include "Benchmarks/Paths.h"

#include <windows.h>

#include <array>

namespace Zv::Benchmarks
{

std::filesystem::path BesideProgram(const wchar_t* fileName)
{
    std::array<wchar_t, MAX_PATH> program{};
    GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size()));
    return std::filesystem::path{program.data()}.replace_filename(fileName);
}

} // namespace Zv::Benchmarks
