#include "Simulator/Cim/ObjectPath.h"

#include "Simulator/Cim/CimTypes.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cwchar>

namespace Zv::Simulator
{

namespace
{

std::wstring Quoted(std::wstring_view text)
{
    std::wstring quoted = L"\"";
    for (const wchar_t c : text)
    {
        if (c == L'"' || c == L'\\')
        {
            quoted += L'\\';
        }
        quoted += c;
    }
    return quoted + L'"';
}

std::wstring KeyText(const Property& property, const Value& value)
{
    if (const bool* const flag = value.As<bool>())
    {
        return *flag ? L"TRUE" : L"FALSE";
    }
    if (const std::int64_t* const number = value.As<std::int64_t>())
    {
        return IntegerText(property.type, *number);
    }
    const std::wstring* const text = value.As<std::wstring>();
    return text == nullptr ? std::wstring{} : *text;
}

std::optional<std::uint64_t> ParseHexadecimal(std::wstring_view digits)
{
    constexpr std::size_t longest = 16;
    const bool isNumber = !digits.empty() && digits.size() <= longest &&
                          digits.find_first_not_of(L"0123456789abcdefABCDEF") == std::wstring_view::npos;
    return isNumber ? std::optional{std::uint64_t{std::wcstoull(std::wstring{digits}.c_str(), nullptr, 16)}}
                    : std::nullopt;
}

// Numbers may be written in two ways in a path: 26 and 0x1A are one.
bool IsKeyValue(const Property& property, const Value& value, std::wstring_view text)
{
    const bool hexadecimal = text.starts_with(L"0x") || text.starts_with(L"0X");
    if (const std::int64_t* const number = value.As<std::int64_t>(); number != nullptr && hexadecimal)
    {
        const std::optional<std::uint64_t> given = ParseHexadecimal(text.substr(2));
        return given && *given == static_cast<std::uint64_t>(*number);
    }
    return EqualNoCase(text, KeyText(property, value));
}

// Reads the keys of an object path from left to right.
class KeyParser
{
public:
    explicit KeyParser(std::wstring_view text) noexcept : m_text{text} {}

    std::optional<std::vector<std::pair<std::wstring, std::wstring>>> Parse(bool named)
    {
        std::vector<std::pair<std::wstring, std::wstring>> keys;
        do
        {
            std::wstring name;
            if (named)
            {
                const std::size_t equals = m_text.find(L'=');
                if (equals == std::wstring_view::npos || equals == 0)
                {
                    return std::nullopt;
                }
                name = m_text.substr(0, equals);
                m_text.remove_prefix(equals + 1);
            }
            std::optional<std::wstring> value = TakeValue();
            if (!value)
            {
                return std::nullopt;
            }
            keys.emplace_back(std::move(name), std::move(*value));
        } while (named && TakeComma());
        return m_text.empty() ? std::optional{std::move(keys)} : std::nullopt;
    }

private:
    bool TakeComma() noexcept
    {
        const bool comma = m_text.starts_with(L',');
        m_text.remove_prefix(comma ? 1 : 0);
        return comma;
    }

    std::optional<std::wstring> TakeValue()
    {
        const wchar_t quote = m_text.empty() ? L'\0' : m_text.front();
        if (quote != L'"' && quote != L'\'')
        {
            const std::size_t end = std::min(m_text.find(L','), m_text.size());
            std::wstring value{m_text.substr(0, end)};
            m_text.remove_prefix(end);
            return value.empty() ? std::nullopt : std::optional{std::move(value)};
        }
        std::wstring value;
        for (std::size_t i = 1; i < m_text.size(); ++i)
        {
            if (m_text[i] == quote)
            {
                m_text.remove_prefix(i + 1);
                return value;
            }
            if (m_text[i] == L'\\' && i + 1 < m_text.size())
            {
                ++i;
            }
            value += m_text[i];
        }
        return std::nullopt;
    }

    std::wstring_view m_text;
};

bool IsName(std::wstring_view text) noexcept
{
    return !text.empty() && std::ranges::all_of(text, [](wchar_t c) {
        return c > 0x7F || c == L'_' || (c >= L'0' && c <= L'9') || (c >= L'A' && c <= L'Z') ||
               (c >= L'a' && c <= L'z');
    });
}

} // namespace

std::optional<ObjectPath> ParseObjectPath(std::wstring_view text)
{
    ObjectPath path;
    // A server's name may have dots, a key's value colons; only keys have what these begin with.
    const std::size_t keyBegin = text.find_first_of(L"=\"'");
    const std::size_t colon = text.find(L':');
    if (colon != std::wstring_view::npos && colon < keyBegin)
    {
        path.nameSpace = text.substr(0, colon);
        text.remove_prefix(colon + 1);
    }
    const std::size_t end = std::min(text.find_first_of(L".="), text.size());
    path.className = text.substr(0, end);
    if (!IsName(path.className))
    {
        return std::nullopt;
    }
    if (end == text.size())
    {
        return path;
    }
    path.isInstance = true;
    const bool named = text[end] == L'.';
    const std::wstring_view keys = text.substr(end + 1);
    if (!named && keys == L"@") // the only instance of a class without keys
    {
        return path;
    }
    auto parsed = KeyParser{keys}.Parse(named);
    if (!parsed)
    {
        return std::nullopt;
    }
    path.keys = std::move(*parsed);
    return path;
}

bool Names(const ObjectPath& path, const Object& instance)
{
    std::size_t matched = 0;
    std::size_t keyCount = 0;
    for (std::size_t i = 0; i < instance.values.size(); ++i)
    {
        const Property& property = instance.definition->properties[i];
        if (!property.key)
        {
            continue;
        }
        ++keyCount;
        matched += static_cast<std::size_t>(std::ranges::count_if(path.keys, [&](const auto& key) {
            return (key.first.empty() || EqualNoCase(key.first, property.name)) &&
                   IsKeyValue(property, instance.values[i], key.second);
        }));
    }
    return matched == path.keys.size() && keyCount == path.keys.size();
}

std::wstring KeyOf(const Object& instance)
{
    std::wstring key;
    for (std::size_t i = 0; i < instance.values.size(); ++i)
    {
        const Property& property = instance.definition->properties[i];
        if (property.key)
        {
            const std::wstring text = KeyText(property, instance.values[i]);
            key +=
                (key.empty() ? L"" : L",") + property.name + L"=" + (IsTextType(property.type) ? Quoted(text) : text);
        }
    }
    return key;
}

std::wstring RelativePath(const Object& object)
{
    const std::wstring& className = object.definition->name;
    if (!object.isInstance)
    {
        return className;
    }
    if (!object.definition->HasKey())
    {
        return object.definition->singleton ? className + L"=@" : std::wstring{};
    }
    return className + L"." + KeyOf(object);
}

std::wstring FullPath(const Object& object)
{
    const std::wstring relative = RelativePath(object);
    return relative.empty()
               ? relative
               : L"\\\\" + object.definition->server + L"\\" + object.definition->nameSpace + L":" + relative;
}

std::optional<NamespaceName> ParseNamespace(std::wstring_view text)
{
    std::wstring path{text};
    std::replace(path.begin(), path.end(), L'/', L'\\');
    NamespaceName name;
    if (path.starts_with(L"\\\\"))
    {
        const std::size_t end = std::min(path.find(L'\\', 2), path.size());
        name.server = path.substr(2, end - 2);
        path.erase(0, end + 1);
        if (name.server == L"." || EqualNoCase(name.server, L"localhost"))
        {
            name.server.clear();
        }
        else if (path.empty() && !name.server.empty()) // a computer and nothing else
        {
            return name;
        }
    }
    if (path.empty() || path.front() == L'\\' || path.back() == L'\\' || path.find(L"\\\\") != std::wstring::npos)
    {
        return std::nullopt;
    }
    name.path = std::move(path);
    return name;
}

} // namespace Zv::Simulator
