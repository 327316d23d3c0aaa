// What the fuzzer feeds the module with: commands of one session, and what the machine answers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Zv::Fuzz
{

using Bytes = std::vector<std::uint8_t>;

struct Command
{
    std::uint32_t function = 0;
    std::wstring request; // ends at its first zero, if it has any

    bool operator==(const Command&) const = default;
};

struct Input
{
    std::vector<Command> commands;
    Bytes machine; // see Answers

    bool operator==(const Input&) const = default;
};

inline constexpr std::size_t MaxCommands = 6;
inline constexpr std::size_t MaxRequest = std::size_t{1} << 21; // characters

// The form in which inputs are kept in files: the number of commands in a byte; for each its function and the length of
// its request in four bytes each, little-endian, and the request in UTF-16; the rest is the machine.
[[nodiscard]] Bytes ToBytes(const Input& input);

// About what ToBytes makes of it.
[[nodiscard]] std::size_t SizeOf(const Input& input) noexcept;

// Any bytes are an input: what is missing is empty, what is too long is cut.
[[nodiscard]] Input FromBytes(const Bytes& bytes);

} // namespace Zv::Fuzz
