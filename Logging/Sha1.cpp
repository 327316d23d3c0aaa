#include "Logging/Sha1.h"

#include <bit>

namespace Logging
{

void Sha1::Append(std::uint8_t byte) noexcept
{
    m_block[m_length++ % BlockSize] = byte;
    if (m_length % BlockSize == 0)
    {
        MixBlock();
    }
}

Sha1::Digest Sha1::Finish() noexcept
{
    const std::uint64_t bits = m_length * 8;
    Append(0x80);
    while (m_length % BlockSize != BlockSize - sizeof bits)
    {
        Append(0);
    }
    for (int shift = 56; shift >= 0; shift -= 8)
    {
        Append(static_cast<std::uint8_t>(bits >> shift));
    }

    Digest digest{};
    for (std::size_t i = 0; i < digest.size(); ++i)
    {
        digest[i] = static_cast<std::uint8_t>(m_state[i / 4] >> (24 - 8 * (i % 4)));
    }
    return digest;
}

void Sha1::MixBlock() noexcept
{
    std::array<std::uint32_t, 80> words{};
    for (std::size_t i = 0; i < BlockSize; ++i)
    {
        words[i / 4] = (words[i / 4] << 8) | m_block[i];
    }
    for (std::size_t i = 16; i < words.size(); ++i)
    {
        words[i] = std::rotl(words[i - 3] ^ words[i - 8] ^ words[i - 14] ^ words[i - 16], 1);
    }

    auto [a, b, c, d, e] = m_state;
    for (std::size_t i = 0; i < words.size(); ++i)
    {
        std::uint32_t mixed = 0;
        if (i < 20)
        {
            mixed = ((b & c) | (~b & d)) + 0x5a827999;
        }
        else if (i < 40)
        {
            mixed = (b ^ c ^ d) + 0x6ed9eba1;
        }
        else if (i < 60)
        {
            mixed = ((b & c) | (b & d) | (c & d)) + 0x8f1bbcdc;
        }
        else
        {
            mixed = (b ^ c ^ d) + 0xca62c1d6;
        }
        const std::uint32_t next = std::rotl(a, 5) + mixed + e + words[i];
        e = d;
        d = c;
        c = std::rotl(b, 30);
        b = a;
        a = next;
    }
    m_state[0] += a;
    m_state[1] += b;
    m_state[2] += c;
    m_state[3] += d;
    m_state[4] += e;
}

} // namespace Logging
