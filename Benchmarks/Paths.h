// Where the files beside a program are.
#pragma once

#include <filesystem>

namespace Zv::Benchmarks
{

[[nodiscard]] std::filesystem::path BesideProgram(const wchar_t* fileName);

} // namespace Zv::Benchmarks
