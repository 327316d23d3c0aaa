// A heap behind the module's allocations on which wrong accesses fault where they happen.
#pragma once

#include <windows.h>

#include <cstddef>

namespace Zv::Testing
{

// Each block has pages of its own between pages that cannot be accessed. A block that was freed cannot be accessed
// either, until the whole heap's addresses were used up and its turn comes again. A wrong access ends the process with
// ExitCode and a line on stderr: what was done, to which block, and from where in which DLL.
//
// Texts of an odd number of characters end exactly at the guard page. Other blocks are aligned as malloc aligns them;
// what is written into the up to 15 bytes behind such a block is found when it is freed.
class GuardHeap
{
public:
    // The exit code of a process that the heap ended.
    static constexpr unsigned int ExitCode = 87;

    // Puts the module's imports of malloc and its kin on this heap if the environment variable ZV_GUARD_HEAP says
    // overrun (blocks end at a guard page) or underrun (they begin behind one), for as long as the module is loaded.
    // What it allocated before stays where it is. The program's own free takes blocks of both heaps from then on:
    // exceptions and strings that leave the module are freed by their receivers. Throws std::runtime_error for any
    // other value of the variable.
    static void GuardIfAsked(HMODULE module);

    [[nodiscard]] static bool IsOn() noexcept;

    // Whether it is the address of a block of this heap that lives.
    [[nodiscard]] static bool IsLive(const void* block) noexcept;

    // Blocks that it has given out so far.
    [[nodiscard]] static std::size_t Allocations() noexcept;
};

} // namespace Zv::Testing
