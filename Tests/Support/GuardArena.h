// The memory of the guarded heap: blocks with pages of their own between pages that cannot be accessed.
#pragma once

#include <windows.h>

#include <cstddef>

namespace Zv::Testing::GuardArena
{

enum class Mode
{
    Overrun, // blocks end at a guard page
    Underrun // blocks begin behind one
};

inline constexpr std::size_t Size = std::size_t{1} << 32; // of the addresses, in bytes

// What was done wrong, in words.
struct Complaint
{
    char text[160];
};

// The code of the exception that Complain raises; its one parameter is the address of the complaint.
inline constexpr DWORD HeapCorruption = 0xC0000374;
void Complain(const Complaint& complaint) noexcept;

// To be called once. False when there is no room.
[[nodiscard]] bool Start(Mode mode) noexcept;
[[nodiscard]] bool IsStarted() noexcept;

// Whether the address lies in the arena.
[[nodiscard]] bool Has(const void* address) noexcept;
// Whether it is the address of a block that lives.
[[nodiscard]] bool IsLive(const void* block) noexcept;

// "write 0 bytes behind a block of 6 bytes", for an address in the arena.
[[nodiscard]] Complaint Describe(const char* what, const void* address) noexcept;

// Null when there is no room.
[[nodiscard]] void* Allocate(std::size_t size) noexcept;
// Of a block of the arena; complains about anything else.
[[nodiscard]] std::size_t SizeOf(const void* block) noexcept;
// Takes a block back: its pages cannot be accessed from here on. Complains about anything else, and about bytes around
// the block that were written to.
void TakeBack(void* block) noexcept;

// Blocks given out so far.
[[nodiscard]] std::size_t Allocations() noexcept;

} // namespace Zv::Testing::GuardArena
