// What the instrumented module and the fuzzer agree on.
#pragma once

#include <cstddef>

namespace Zv::Fuzz
{

inline constexpr char CoverageMapName[] = "ZvCoverageMap"; // an exported array of bytes: how often each way was taken
inline constexpr std::size_t CoverageMapSize = 65536;

} // namespace Zv::Fuzz
