#include "Host/Text/RequestText.h"

#include "Host/Text/Failure.h"
#include "Host/Text/SystemError.h"
#include "Platform/Windows/Utf8.h"

#include "Platform/Windows/Handle.h"

#include <windows.h>

#include <cstddef>
#include <optional>

namespace Zv::Host
{

namespace
{

using Zv::Tessel::Server::Shared::Handle;

constexpr std::string_view Utf8Mark = "\xef\xbb\xbf";
constexpr std::string_view Utf16LittleEndianMark = "\xff\xfe";
constexpr std::string_view Utf16BigEndianMark = "\xfe\xff";

std::string DisplayName(const std::string& path)
{
    return path == "-" ? "standard input" : path;
}

wchar_t Unit(char first, char second)
{
    return static_cast<wchar_t>(static_cast<unsigned char>(first) << 8 | static_cast<unsigned char>(second));
}

// Unpaired surrogates are kept: what the module makes of them is the caller's question.
std::optional<std::wstring> DecodeUtf16(std::string_view bytes, bool bigEndian)
{
    if (bytes.size() % 2 != 0)
    {
        return std::nullopt;
    }
    std::wstring text;
    for (std::size_t i = 0; i < bytes.size(); i += 2)
    {
        text += bigEndian ? Unit(bytes[i], bytes[i + 1]) : Unit(bytes[i + 1], bytes[i]);
    }
    return text;
}

std::optional<std::wstring> Decode(std::string_view bytes)
{
    if (bytes.starts_with(Utf16LittleEndianMark) || bytes.starts_with(Utf16BigEndianMark))
    {
        return DecodeUtf16(bytes.substr(2), bytes.starts_with(Utf16BigEndianMark));
    }
    return ToUtf16Strictly(bytes.starts_with(Utf8Mark) ? bytes.substr(Utf8Mark.size()) : bytes);
}

} // namespace

std::string ReadAll(const std::string& path)
{
    Handle file;
    HANDLE stream = nullptr;
    if (path == "-")
    {
        stream = GetStdHandle(STD_INPUT_HANDLE);
    }
    else
    {
        file = Handle{CreateFileW(ToUtf16(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)};
        stream = file.Get();
    }

    std::string content;
    if (stream != nullptr && stream != INVALID_HANDLE_VALUE)
    {
        char bytes[16384];
        for (;;)
        {
            DWORD count = 0;
            const bool read = ReadFile(stream, bytes, sizeof bytes, &count, nullptr) != FALSE;
            if (count > 0)
            {
                content.append(bytes, count);
            }
            else if (read || GetLastError() == ERROR_BROKEN_PIPE || GetLastError() == ERROR_HANDLE_EOF)
            {
                return content;
            }
            else
            {
                break;
            }
        }
    }
    throw Failure{ExitCode::InputOutput, "cannot read " + DisplayName(path) + ": " + SystemErrorText(GetLastError())};
}

std::wstring DecodeRequest(std::string_view bytes, const std::string& source)
{
    const std::optional<std::wstring> text = Decode(bytes);
    if (!text)
    {
        throw Failure{ExitCode::BadInput, DisplayName(source) + " is neither UTF-8 nor UTF-16 with a byte order mark"};
    }
    const std::size_t zero = text->find(L'\0');
    if (zero != std::wstring::npos)
    {
        throw Failure{ExitCode::BadInput, DisplayName(source) + " has a zero character after " + std::to_string(zero) +
                                              " characters: a request is text without one"};
    }
    return *text;
}

} // namespace Zv::Host
