#include "Host/Recording/Redaction.h"

#include <algorithm>
#include <array>
#include <cwctype>
#include <iterator>
#include <map>
#include <string>
#include <string_view>

namespace Zv::Host
{

using Simulator::Bytes;
using Simulator::List;
using Simulator::Object;
using Simulator::ObjectPtr;
using Simulator::Value;

namespace
{

// Parts of the names of properties and settings, in small letters.
constexpr std::array<std::wstring_view, 19> SecretNames = {
    L"serialnumber",   L"serial number", L"identifyingnumber", L"assettag",       L"asset tag",
    L"asset tracking", L"servicetag",    L"service tag",       L"uuid",           L"productkey",
    L"smbiosdata",     L"username",      L"user name",         L"registereduser", L"owner",
    L"startname",      L"loggedonuser",  L"password",          L"userprofile",
};
// Names that say nothing but in classes of accounts.
constexpr std::array<std::wstring_view, 5> AccountProperties = {L"name", L"fullname", L"caption", L"sid", L"localpath"};
constexpr std::array<std::wstring_view, 3> AccountClasses = {L"account", L"user", L"logon"};
constexpr std::array<std::wstring_view, 3> SettingValues = {L"value", L"currentvalue", L"newvalue"};

// Every system has these users.
constexpr std::array<std::wstring_view, 4> SystemAccounts = {L"localsystem", L"system", L"nt authority\\",
                                                             L"nt service\\"};

constexpr std::wstring_view UserFolders = L"\\users\\";
constexpr std::array<std::wstring_view, 4> SharedFolders = {L"public", L"default", L"all users", L"default user"};

// Shorter texts are words rather than secrets; only the property that holds one is redacted.
constexpr std::size_t ShortestSecret = 5;

std::wstring Lower(std::wstring_view text)
{
    std::wstring lower{text};
    std::ranges::transform(lower, lower.begin(), [](wchar_t c) { return static_cast<wchar_t>(std::towlower(c)); });
    return lower;
}

template <std::size_t Count>
bool ContainsOne(std::wstring_view text, const std::array<std::wstring_view, Count>& parts)
{
    return std::ranges::any_of(parts,
                               [&](std::wstring_view part) { return text.find(part) != std::wstring_view::npos; });
}

template <std::size_t Count>
bool IsOne(std::wstring_view text, const std::array<std::wstring_view, Count>& names)
{
    return std::ranges::find(names, text) != names.end();
}

bool IsSystemAccount(const std::wstring& lower)
{
    return std::ranges::any_of(SystemAccounts, [&](std::wstring_view account) {
        return account.ends_with(L'\\') ? lower.starts_with(account) : lower == account;
    });
}

// An instance with a name and a value, called what a secret is called.
bool IsSecretSetting(const Object& object)
{
    const auto name = object.definition->FindProperty(L"Name");
    const std::wstring* const text = name ? object.values[*name].As<std::wstring>() : nullptr;
    return text != nullptr && ContainsOne(Lower(*text), SecretNames);
}

bool IsSecret(const Object& object, const std::wstring& property, const Value& value)
{
    const std::wstring name = Lower(property);
    if (value.As<std::int64_t>() != nullptr && name.find(L"password") != std::wstring::npos)
    {
        return false; // whether there is one, and of which kind
    }
    return ContainsOne(name, SecretNames) ||
           (IsOne(name, AccountProperties) && ContainsOne(Lower(object.definition->name), AccountClasses)) ||
           (IsOne(name, SettingValues) && IsSecretSetting(object));
}

class Redactor
{
public:
    // First of all objects, then Redacted of all.
    void Learn(const Object& object)
    {
        ForEachValue(object, [this](const Value& value, bool isSecret) { Learn(value, isSecret); });
    }

    [[nodiscard]] ObjectPtr Redacted(const Object& object)
    {
        auto result = std::make_shared<Object>(object);
        std::size_t index = 0;
        ForEachValue(object, [&](const Value& value, bool isSecret) {
            result->values[index++] = isSecret ? Replaced(value) : Cleaned(value);
        });
        return result;
    }

private:
    template <class Action>
    static void ForEachValue(const Object& object, Action action)
    {
        for (std::size_t i = 0; i < object.values.size(); ++i)
        {
            action(object.values[i], IsSecret(object, object.definition->properties[i].name, object.values[i]));
        }
    }

    void Learn(const Value& value, bool isSecret)
    {
        if (const auto* const object = value.As<ObjectPtr>())
        {
            Learn(**object);
        }
        else if (const auto* const list = value.As<List>())
        {
            for (const Value& item : *list)
            {
                Learn(item, isSecret);
            }
        }
        else if (const auto* const text = value.As<std::wstring>(); text != nullptr && isSecret)
        {
            Replacement(*text);
        }
    }

    // What stands for a secret text; empty texts and system accounts stand for themselves.
    std::wstring Replacement(const std::wstring& text)
    {
        const std::wstring key = Lower(text);
        if (key.empty() || IsSystemAccount(key))
        {
            return text;
        }
        const auto [found, isNew] = m_replacements.try_emplace(key);
        if (isNew)
        {
            found->second = L"redacted-" + std::to_wstring(m_replacements.size());
        }
        return found->second;
    }

    Value Replaced(const Value& value)
    {
        if (const auto* const text = value.As<std::wstring>())
        {
            return Replacement(*text);
        }
        if (const auto* const bytes = value.As<Bytes>())
        {
            return Bytes(bytes->size());
        }
        if (const auto* const list = value.As<List>())
        {
            List result;
            std::ranges::transform(*list, std::back_inserter(result),
                                   [this](const Value& item) { return Replaced(item); });
            return result;
        }
        if (value.As<std::int64_t>() != nullptr)
        {
            return std::int64_t{0};
        }
        return Cleaned(value); // truth values tell nothing
    }

    Value Cleaned(const Value& value)
    {
        if (const auto* const object = value.As<ObjectPtr>())
        {
            return Redacted(**object);
        }
        if (const auto* const list = value.As<List>())
        {
            List result;
            std::ranges::transform(*list, std::back_inserter(result),
                                   [this](const Value& item) { return Cleaned(item); });
            return result;
        }
        if (const auto* const text = value.As<std::wstring>())
        {
            return WithoutSecrets(WithoutUserFolders(*text));
        }
        return value;
    }

    [[nodiscard]] std::wstring WithoutSecrets(std::wstring text) const
    {
        for (const auto& [secret, replacement] : m_replacements)
        {
            for (std::size_t begin = 0; secret.size() >= ShortestSecret;)
            {
                const std::wstring lower = Lower(text);
                begin = lower.find(secret, begin);
                if (begin == std::wstring::npos)
                {
                    break;
                }
                const std::size_t end = begin + secret.size();
                const bool isWord = (begin == 0 || std::iswalnum(lower[begin - 1]) == 0) &&
                                    (end == lower.size() || std::iswalnum(lower[end]) == 0);
                if (isWord)
                {
                    text.replace(begin, secret.size(), replacement);
                }
                begin += isWord ? replacement.size() : 1;
            }
        }
        return text;
    }

    std::map<std::wstring, std::wstring> m_replacements; // by the text in small letters
};

} // namespace

bool IsSecretName(std::wstring_view name)
{
    return ContainsOne(Lower(name), SecretNames);
}

std::wstring WithoutUserFolders(std::wstring text)
{
    const std::wstring folders{UserFolders};
    for (std::size_t begin = 0;;)
    {
        const std::wstring lower = Lower(text);
        begin = lower.find(folders, begin);
        if (begin == std::wstring::npos)
        {
            return text;
        }
        begin = std::min(lower.find_first_not_of(L'\\', begin + folders.size()), text.size());
        const std::size_t end = std::min(lower.find_first_of(L"\\/\"';,", begin), text.size());
        if (!IsOne(std::wstring_view{lower}.substr(begin, end - begin), SharedFolders))
        {
            text.replace(begin, end - begin, L"user");
        }
    }
}

void Redact(Simulator::Description& description)
{
    Redactor redactor;
    const auto forEachInstance = [&](auto action) {
        for (Simulator::Namespace& nameSpace : description.namespaces)
        {
            for (Simulator::ClassEntry& entry : nameSpace.classes)
            {
                std::ranges::for_each(entry.instances, action);
            }
        }
    };
    forEachInstance([&](const ObjectPtr& instance) { redactor.Learn(*instance); });
    forEachInstance([&](ObjectPtr& instance) { instance = redactor.Redacted(*instance); });
}

} // namespace Zv::Host
