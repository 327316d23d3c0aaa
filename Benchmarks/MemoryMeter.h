// What a module takes of memory, counted where it asks for it: at its imports.
#pragma once

#include "Interception/Redirection.h"

#include <windows.h>

#include <cstddef>
#include <vector>

namespace Zv::Benchmarks
{

struct MemoryTally
{
    std::size_t blocks = 0; // malloc, calloc, realloc and what is built on them, HeapAlloc
    std::size_t blockBytes = 0;
    std::size_t strings = 0; // SysAllocString and its like
    std::size_t stringBytes = 0;
    std::size_t arrays = 0; // SafeArrayCreateVector, of bytes
    std::size_t arrayBytes = 0;

    friend bool operator==(const MemoryTally&, const MemoryTally&) = default;
};
[[nodiscard]] MemoryTally operator-(const MemoryTally& later, const MemoryTally& earlier) noexcept;

// Counts while it lives. One at a time; the module may be called on any thread meanwhile.
class MemoryMeter
{
public:
    explicit MemoryMeter(HMODULE module);

    // All since the meter began.
    [[nodiscard]] MemoryTally Count() const noexcept;

    // The most that the module has held at once of its C heap since StartPeak, beyond what it held then, in bytes.
    void StartPeak() noexcept;
    [[nodiscard]] std::size_t Peak() const noexcept;

private:
    std::vector<Interception::Redirection> m_redirections;
};

} // namespace Zv::Benchmarks
