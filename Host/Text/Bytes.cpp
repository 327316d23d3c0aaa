#include "Host/Text/Bytes.h"

#include <windows.h>

#include <wincrypt.h>

#include <algorithm>
#include <cstddef>
#include <span>
#include <system_error>

namespace Zv::Host
{

namespace
{

constexpr std::size_t LineLength = 16;
constexpr std::string_view Digits = "0123456789abcdef";

std::optional<unsigned int> HexDigit(char c) noexcept
{
    const char lower = c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
    const std::size_t value = Digits.find(lower);
    return value == std::string_view::npos ? std::nullopt : std::optional{static_cast<unsigned int>(value)};
}

std::string Hex(std::size_t value, std::size_t digits)
{
    std::string text(digits, '0');
    for (std::size_t i = digits; i > 0; value >>= 4)
    {
        text[--i] = Digits[value & 0xf];
    }
    return text;
}

std::string DumpLine(std::span<const std::uint8_t> bytes)
{
    std::string hex;
    std::string characters;
    for (std::size_t i = 0; i < LineLength; ++i)
    {
        hex += i == LineLength / 2 ? "  " : " ";
        hex += i < bytes.size() ? Hex(bytes[i], 2) : "  ";
        if (i < bytes.size())
        {
            characters += bytes[i] >= 0x20 && bytes[i] < 0x7f ? static_cast<char>(bytes[i]) : '.';
        }
    }
    return ' ' + hex + "  |" + characters + '|';
}

} // namespace

std::optional<Bytes> ParseHex(std::string_view text)
{
    Bytes bytes;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        if (text[i] == ' ')
        {
            continue;
        }
        const std::optional<unsigned int> high = HexDigit(text[i]);
        const std::optional<unsigned int> low = ++i < text.size() ? HexDigit(text[i]) : std::nullopt;
        if (!high || !low)
        {
            return std::nullopt;
        }
        bytes.push_back(static_cast<std::uint8_t>(*high << 4 | *low));
    }
    return bytes;
}

std::string HexDump(const Bytes& bytes)
{
    std::string dump;
    std::string before;
    bool repeated = false;
    for (std::size_t offset = 0; offset < bytes.size(); offset += LineLength)
    {
        const std::size_t length = std::min(LineLength, bytes.size() - offset);
        std::string line = DumpLine(std::span{bytes}.subspan(offset, length));
        if (line != before)
        {
            dump += Hex(offset, 8) + line + '\n';
            repeated = false;
        }
        else if (!repeated)
        {
            dump += "*\n";
            repeated = true;
        }
        before = std::move(line);
    }
    return bytes.empty() ? dump : dump + Hex(bytes.size(), 8) + '\n';
}

std::string ToBase64(const Bytes& bytes)
{
    constexpr DWORD flags = CRYPT_STRING_BASE64 | CRYPT_STRING_NOCRLF;
    const auto count = static_cast<DWORD>(bytes.size());
    if (count == 0)
    {
        return {};
    }
    DWORD length = 0; // with the terminator, then without
    if (CryptBinaryToStringA(bytes.data(), count, flags, nullptr, &length) != FALSE)
    {
        std::string text(length, '\0');
        if (CryptBinaryToStringA(bytes.data(), count, flags, text.data(), &length) != FALSE)
        {
            text.resize(length);
            return text;
        }
    }
    throw std::system_error{static_cast<int>(GetLastError()), std::system_category(), "cannot write base64"};
}

std::optional<Bytes> FromBase64(const std::string& text)
{
    if (text.empty())
    {
        return Bytes{};
    }
    const auto length = static_cast<DWORD>(text.size());
    DWORD count = 0;
    if (CryptStringToBinaryA(text.data(), length, CRYPT_STRING_BASE64, nullptr, &count, nullptr, nullptr) == FALSE)
    {
        return std::nullopt;
    }
    Bytes bytes(count);
    if (CryptStringToBinaryA(text.data(), length, CRYPT_STRING_BASE64, bytes.data(), &count, nullptr, nullptr) == FALSE)
    {
        return std::nullopt;
    }
    return bytes;
}

} // namespace Zv::Host
