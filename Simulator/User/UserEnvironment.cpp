#include "Simulator/User/UserEnvironment.h"

#include <userenv.h>

#include <algorithm>
#include <cwchar>

namespace Zv::Simulator
{

namespace
{

// Entries such as "=C:=C:\dir" have a name that begins with the sign.
std::wstring_view NameOf(std::wstring_view entry)
{
    return entry.substr(0, entry.find(L'=', 1));
}

bool LessNoCase(std::wstring_view a, std::wstring_view b)
{
    return CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(), static_cast<int>(b.size()), TRUE) ==
           CSTR_LESS_THAN;
}

} // namespace

UserEnvironment::UserEnvironment(const Session& session, HANDLE systemUser)
{
    void* block = nullptr;
    if (CreateEnvironmentBlock(&block, systemUser, FALSE) != FALSE)
    {
        for (const auto* entry = static_cast<const wchar_t*>(block); *entry != L'\0'; entry += wcslen(entry) + 1)
        {
            m_entries.emplace_back(entry);
        }
        DestroyEnvironmentBlock(block);
    }
    if (!session.profile.empty())
    {
        Set(L"USERPROFILE", session.profile);
    }
    if (!session.user.empty())
    {
        Set(L"USERNAME", session.user);
    }
    for (const auto& [name, value] : session.environment)
    {
        Set(name, value);
    }
    std::ranges::sort(m_entries,
                      [](const std::wstring& a, const std::wstring& b) { return LessNoCase(NameOf(a), NameOf(b)); });
}

void UserEnvironment::Set(std::wstring_view name, std::wstring_view value)
{
    std::erase_if(m_entries, [name](const std::wstring& entry) { return EqualNoCase(NameOf(entry), name); });
    m_entries.push_back(std::wstring{name} + L'=' + std::wstring{value});
}

const std::wstring* UserEnvironment::Find(std::wstring_view name) const
{
    const auto found =
        std::ranges::find_if(m_entries, [name](const std::wstring& entry) { return EqualNoCase(NameOf(entry), name); });
    return found != m_entries.end() ? &*found : nullptr;
}

std::wstring UserEnvironment::Expand(std::wstring_view text) const
{
    std::wstring expanded;
    while (!text.empty())
    {
        const std::size_t begin = text.find(L'%');
        const std::size_t end = begin == std::wstring_view::npos ? std::wstring_view::npos : text.find(L'%', begin + 1);
        if (end == std::wstring_view::npos)
        {
            break;
        }
        expanded += text.substr(0, begin);
        const std::wstring_view name = text.substr(begin + 1, end - begin - 1);
        if (const std::wstring* const entry = Find(name); entry != nullptr && !name.empty())
        {
            expanded += entry->substr(name.size() + 1);
            text.remove_prefix(end + 1);
        }
        else
        {
            expanded += text.substr(begin, end - begin); // its second sign may begin the next name
            text.remove_prefix(end);
        }
    }
    return expanded += text;
}

std::wstring UserEnvironment::Block() const
{
    std::wstring block;
    for (const std::wstring& entry : m_entries)
    {
        block += entry;
        block += L'\0';
    }
    block += L'\0'; // and the string's own terminator, which an empty block needs
    return block;
}

} // namespace Zv::Simulator
