#include "Host/Terminal/DisplayWidth.h"

#include "Platform/Windows/Utf8.h"

#include <windows.h>

#include <algorithm>
#include <iterator>

namespace Zv::Host
{

namespace
{

struct Range
{
    char32_t first;
    char32_t last;
};

constexpr Range Invisible[] = {
    {0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD}, {0x0610, 0x061A}, {0x064B, 0x065F}, {0x1AB0, 0x1AFF},
    {0x1DC0, 0x1DFF}, {0x200B, 0x200F}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0xFEFF, 0xFEFF},
};
constexpr Range Wide[] = {
    {0x1100, 0x115F},   {0x2E80, 0x303E},   {0x3041, 0x4DBF},   {0x4E00, 0xA4CF},   {0xA960, 0xA97F},
    {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},   {0xFF01, 0xFF60},   {0xFFE0, 0xFFE6},
    {0x1F300, 0x1F64F}, {0x1F680, 0x1F6FF}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD},
};

template <std::size_t Count>
bool IsIn(const Range (&ranges)[Count], char32_t character) noexcept
{
    return std::ranges::any_of(ranges,
                               [=](const Range& range) { return character >= range.first && character <= range.last; });
}

std::size_t WidthOf(char32_t character) noexcept
{
    return IsIn(Invisible, character) ? 0 : IsIn(Wide, character) ? 2 : 1;
}

// The number of UTF-16 units from the begin on that take no more columns than that, and those columns.
struct Fit
{
    std::size_t units = 0;
    std::size_t columns = 0;
};

Fit FitInto(std::wstring_view text, std::size_t width) noexcept
{
    Fit fit;
    while (fit.units < text.size())
    {
        const wchar_t unit = text[fit.units];
        const bool isPair = IS_HIGH_SURROGATE(unit) && fit.units + 1 < text.size();
        const char32_t character =
            isPair ? 0x10000 + ((char32_t{unit} & 0x3FF) << 10) + (char32_t{text[fit.units + 1]} & 0x3FF)
                   : char32_t{unit};
        const std::size_t columns = fit.columns + WidthOf(character);
        if (columns > width)
        {
            break;
        }
        fit.units += isPair ? 2 : 1;
        fit.columns = columns;
    }
    return fit;
}

} // namespace

std::size_t DisplayWidth(std::string_view text)
{
    return FitInto(ToUtf16(text), SIZE_MAX).columns;
}

std::string CutToWidth(std::string_view text, std::size_t width)
{
    const std::wstring wide = ToUtf16(text);
    if (FitInto(wide, width).units == wide.size())
    {
        return std::string{text};
    }
    return width == 0 ? std::string{} : ToUtf8(wide.substr(0, FitInto(wide, width - 1).units)) + "\xE2\x80\xA6";
}

} // namespace Zv::Host
