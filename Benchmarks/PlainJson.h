// The limit for dispatch alone.
#pragma once

#include <cstddef>
#include <string>

namespace Zv::Benchmarks
{

// No function of the module has this number.
inline constexpr unsigned int UnsupportedFunction = 3;

// So many characters of JSON.
[[nodiscard]] std::wstring RequestOfLength(std::size_t length);

// Parses the request and writes "{}" as any program would with RapidJSON as it comes.
void ParseAndWrite(const std::wstring& request);

} // namespace Zv::Benchmarks
