// SHA-1, for ids derived from names. Not for secrets.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace Logging
{

class Sha1
{
public:
    using Digest = std::array<std::uint8_t, 20>;

    void Append(std::uint8_t byte) noexcept;
    [[nodiscard]] Digest Finish() noexcept;

private:
    static constexpr std::size_t BlockSize = 64;

    void MixBlock() noexcept;

    std::array<std::uint32_t, 5> m_state{0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476, 0xc3d2e1f0};
    std::array<std::uint8_t, BlockSize> m_block{};
    std::uint64_t m_length = 0; // bytes appended
};

} // namespace Logging
