// Scanning UTF-16 text eight units at a time, with SSE2, which every x64 processor has.
//
// Blocks are read at addresses that are multiples of their size, so that none touches a page that the text does not:
// what lies before the text or behind its end may be read, and is not looked at.
#pragma once

#include <emmintrin.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace Zv::Tessel::Server::Services
{

inline constexpr std::size_t UnitsInBlock = sizeof(__m128i) / sizeof(wchar_t);

// The index of the first unit for which matches(block) has all bits of its lane set, but at most `limit`; units behind
// that are not looked for. The text must lie at an even address and hold such a unit, or `limit` units.
template <class Matches>
[[nodiscard]] std::size_t FindUnit(const wchar_t* text, std::size_t limit, const Matches& matches) noexcept
{
    const std::size_t before = reinterpret_cast<std::uintptr_t>(text) % sizeof(__m128i); // bytes of the first block
    const wchar_t* block = text - before / sizeof(wchar_t);
    unsigned int notBefore = ~0U << before;
    for (std::size_t end = UnitsInBlock - before / sizeof(wchar_t);; end += UnitsInBlock, block += UnitsInBlock)
    {
        const __m128i units = _mm_load_si128(reinterpret_cast<const __m128i*>(block));
        const unsigned int found = static_cast<unsigned int>(_mm_movemask_epi8(matches(units))) & notBefore;
        if (found != 0)
        {
            const auto inBlock = static_cast<std::size_t>(std::countr_zero(found)) / sizeof(wchar_t);
            return std::min(limit, end - UnitsInBlock + inBlock);
        }
        if (end >= limit)
        {
            return limit;
        }
        notBefore = ~0U;
    }
}

// The number of units before the first that a JSON string does not hold as it is ('"', '\\' or below 0x20), but at most
// `limit`. The text ends with a zero.
[[nodiscard]] inline std::size_t PlainLength(const wchar_t* text, std::size_t limit) noexcept
{
    return FindUnit(text, limit, [](__m128i units) {
        const __m128i control = _mm_cmpeq_epi16(_mm_subs_epu16(units, _mm_set1_epi16(0x1f)), _mm_setzero_si128());
        const __m128i quote = _mm_cmpeq_epi16(units, _mm_set1_epi16('"'));
        const __m128i backslash = _mm_cmpeq_epi16(units, _mm_set1_epi16('\\'));
        return _mm_or_si128(_mm_or_si128(quote, backslash), control);
    });
}

// The length of text that ends with a zero, but at most `bound`.
[[nodiscard]] inline std::size_t BoundedLength(const wchar_t* text, std::size_t bound) noexcept
{
    return FindUnit(text, bound, [](__m128i units) { return _mm_cmpeq_epi16(units, _mm_setzero_si128()); });
}

} // namespace Zv::Tessel::Server::Services
