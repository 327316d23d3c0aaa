#include "Simulator/Description/EnvironmentReader.h"

#include "Platform/Windows/Utf8.h"
#include "Simulator/Cim/NearestName.h"
#include "Simulator/Cim/ObjectPath.h"
#include "Simulator/Description/NodeReader.h"
#include "Simulator/Description/ValueReader.h"

#include <algorithm>
#include <map>

namespace Zv::Simulator
{

namespace
{

constexpr std::int64_t LongestTime = 24LL * 60 * 60 * 1000;

ClassPtr FindClass(const Description& description, const JsonNode& nameSpace, const JsonNode& name)
{
    const std::optional<NamespaceName> parsed = ParseNamespace(ReadText(nameSpace, "a namespace of this machine"));
    const Namespace* const found = parsed ? description.FindNamespace(parsed->path) : nullptr;
    if (found == nullptr)
    {
        Expected(nameSpace, "a namespace of this machine");
    }
    const std::wstring wanted = ReadText(name, "a class of that namespace");
    for (const ClassEntry& entry : found->classes)
    {
        if (EqualNoCase(entry.definition->name, wanted))
        {
            return entry.definition;
        }
    }
    Expected(name, "a class of that namespace");
}

std::wstring OptionalText(const Members& members, std::string_view key, const std::string& what)
{
    const JsonNode* const node = members.Find(key);
    return node == nullptr ? std::wstring{} : ReadText(*node, what);
}

std::int64_t OptionalInteger(const Members& members, std::string_view key, const std::string& what,
                             std::int64_t otherwise, std::int64_t minimum, std::int64_t maximum)
{
    const JsonNode* const node = members.Find(key);
    return node == nullptr ? otherwise : ReadInteger(*node, what, minimum, maximum);
}

DWORD OptionalTime(const Members& members, std::string_view key)
{
    return static_cast<DWORD>(OptionalInteger(members, key, "a time in milliseconds", 0, 0, LongestTime));
}

Setting ReadSetting(const JsonNode& node)
{
    const Members members{node, {"name", "value", "default", "allowed", "readOnly"}};
    Setting setting;
    setting.name = ReadNonEmptyText(members.Require("name"), "the setting's name");
    setting.value = ReadText(members.Require("value"), "the setting's value");
    const JsonNode* const initial = members.Find("default");
    setting.initial = initial == nullptr ? setting.value : ReadText(*initial, "the setting's default");
    if (const JsonNode* allowed = members.Find("allowed"))
    {
        for (const JsonNode& value : ReadList(*allowed, "a list of allowed values"))
        {
            setting.allowed.push_back(ReadText(value, "an allowed value"));
        }
        for (const JsonNode* value : {members.Find("value"), initial})
        {
            if (value != nullptr && std::ranges::find(setting.allowed, ToUtf16(value->text)) == setting.allowed.end())
            {
                Expected(*value, "one of the values in \"allowed\"");
            }
        }
    }
    if (const JsonNode* readOnly = members.Find("readOnly"))
    {
        setting.readOnly = ReadFlag(*readOnly, "whether the setting can only be read");
    }
    return setting;
}

void ReadCodes(const JsonNode& node, Settings& settings)
{
    const Members members{node, {"success", "unknownName", "invalidValue", "wrongPassword"}};
    const auto code = [&](std::string_view key, std::int64_t& value) {
        value = OptionalInteger(members, key, "a return value", value, 0, UINT32_MAX);
    };
    code("success", settings.success);
    code("unknownName", settings.unknownName);
    code("invalidValue", settings.invalidValue);
    code("wrongPassword", settings.wrongPassword);
}

ScheduledEvent ReadScheduledEvent(const JsonNode& node, const Events& events, const ClassFinder& findClass)
{
    const Members members{node, {"atMs", "everyMs", "times", "burst", "id", "data", "values"}};
    ScheduledEvent scheduled;
    scheduled.at = OptionalTime(members, "atMs");
    scheduled.every = OptionalTime(members, "everyMs");
    // An event that repeats without a number repeats for ever.
    scheduled.times = static_cast<unsigned>(
        OptionalInteger(members, "times", "how many times", scheduled.every == 0 ? 1 : 0, 1, INT32_MAX));
    scheduled.burst = static_cast<unsigned>(OptionalInteger(members, "burst", "how many events at once", 1, 1, 1000));
    auto event = MakeInstance(events.definition);
    const auto set = [&](std::string_view key, const std::wstring& name) {
        if (const JsonNode* value = members.Find(key))
        {
            const std::size_t index = *events.definition->FindProperty(name);
            event->values[index] = ReadValue(*value, events.definition->properties[index], findClass);
        }
    };
    set("id", events.idName);
    set("data", events.dataName);
    if (const JsonNode* values = members.Find("values"))
    {
        ReadValues(*values, *event, findClass);
    }
    scheduled.event = std::move(event);
    return scheduled;
}

std::uint64_t ReadVersion(const JsonNode& node)
{
    const std::string what = "a version such as \"2.1.0.0\"";
    const std::wstring text = ReadText(node, what);
    std::uint64_t version = 0;
    int parts = 0;
    std::size_t begin = 0;
    for (; begin <= text.size(); ++parts)
    {
        const std::size_t end = std::min(text.find(L'.', begin), text.size());
        std::uint64_t part = 0;
        for (std::size_t i = begin; i < end; ++i)
        {
            part =
                text[i] < L'0' || text[i] > L'9' ? UINT64_MAX : part * 10 + static_cast<std::uint64_t>(text[i] - L'0');
            if (part > UINT16_MAX)
            {
                Expected(node, what);
            }
        }
        if (begin == end)
        {
            Expected(node, what);
        }
        version = version << 16 | part;
        begin = end + 1;
    }
    if (parts != 4)
    {
        Expected(node, what);
    }
    return version;
}

PackageName ReadPackageName(const JsonNode& node)
{
    const Members members{node, {"name", "properties", "folder", "origin", "version"}};
    PackageName name;
    name.fullName = ReadNonEmptyText(members.Require("name"), "the package's full name");
    name.properties =
        static_cast<std::uint32_t>(OptionalInteger(members, "properties", "a property word", 0, 0, UINT32_MAX));
    name.folder = OptionalText(members, "folder", "the install folder");
    if (const JsonNode* origin = members.Find("origin"))
    {
        name.origin = static_cast<std::int32_t>(ReadInteger(*origin, "the package's origin", INT32_MIN, INT32_MAX));
    }
    if (const JsonNode* version = members.Find("version"))
    {
        name.version = ReadVersion(*version);
    }
    return name;
}

} // namespace

Settings ReadSettings(const JsonNode& node, Description& description)
{
    const Members members{node, {"password", "codes", "shownAs", "items"}};
    Settings settings;
    settings.password = OptionalText(members, "password", "the setup password");
    if (const JsonNode* codes = members.Find("codes"))
    {
        ReadCodes(*codes, settings);
    }
    for (const JsonNode& item : ReadList(members.Require("items"), "a list of settings"))
    {
        Setting setting = ReadSetting(item);
        if (std::ranges::any_of(settings.items,
                                [&](const Setting& other) { return EqualNoCase(other.name, setting.name); }))
        {
            Expected(item, "a setting whose name no other setting has");
        }
        settings.items.push_back(std::move(setting));
    }
    if (const JsonNode* shownAs = members.Find("shownAs"))
    {
        const Members place{*shownAs, {"namespace", "class"}};
        const JsonNode& className = place.Require("class");
        settings.shownAs = FindClass(description, place.Require("namespace"), className);
        for (const wchar_t* property : {L"Name", L"Value"})
        {
            const auto index = settings.shownAs->FindProperty(property);
            if (!index || settings.shownAs->properties[*index].type != CIM_STRING)
            {
                Expected(className, "a class with the string properties Name and Value");
            }
        }
    }
    return settings;
}

Events ReadEvents(const JsonNode& node, const Description& description)
{
    const Members members{node, {"namespace", "class", "id", "data", "threads", "schedule"}};
    Events events;
    const JsonNode& className = members.Require("class");
    events.definition = FindClass(description, members.Require("namespace"), className);
    if (!events.definition->event)
    {
        Expected(className, "a class with \"event\": true");
    }
    const auto readProperty = [&](std::string_view key, std::wstring& name) {
        const JsonNode* const written = members.Find(key);
        if (written != nullptr)
        {
            name = ReadText(*written, "a property of the event class");
        }
        if (!events.definition->FindProperty(name))
        {
            Expected(written != nullptr ? *written : className,
                     written != nullptr ? "a property of the event class"
                                        : "a class with the property \"" + ToUtf8(name) + "\"");
        }
    };
    readProperty("id", events.idName);
    readProperty("data", events.dataName);
    events.deliveryThreads =
        static_cast<unsigned>(OptionalInteger(members, "threads", "a number of delivery threads", 4, 1, 64));
    if (const JsonNode* schedule = members.Find("schedule"))
    {
        const ClassFinder noEmbeddedClasses = [](std::wstring_view) { return ClassPtr{}; };
        for (const JsonNode& item : ReadList(*schedule, "a list of scheduled events"))
        {
            events.schedule.push_back(ReadScheduledEvent(item, events, noEmbeddedClasses));
        }
    }
    return events;
}

Fault ReadFault(const JsonNode& node)
{
    const Members members{node, {"at", "about", "call", "from", "status", "delayMs", "hang"}};
    Fault fault;
    const JsonNode& at = members.Require("at");
    const std::optional<Site> site = SiteByName(at.text);
    if (at.kind != JsonNode::Kind::String || !site)
    {
        Expected(at, "a call such as \"" + std::string{NearestName(at.text, SiteNames())} +
                         "\" (the schema of machine descriptions lists them)");
    }
    fault.site = *site;
    fault.about = OptionalText(members, "about", "what the call is about");
    const JsonNode* const call = members.Find("call");
    const JsonNode* const from = members.Find("from");
    if (call != nullptr && from != nullptr)
    {
        Expected(*from, "either \"call\" or \"from\"");
    }
    const JsonNode* const number = call != nullptr ? call : from;
    fault.first =
        number == nullptr ? 1 : static_cast<unsigned>(ReadInteger(*number, "the call's number", 1, INT32_MAX));
    fault.count = call != nullptr ? 1 : 0;
    if (const JsonNode* status = members.Find("status"))
    {
        fault.status = ReadStatus(*status);
    }
    fault.delay = OptionalTime(members, "delayMs");
    if (const JsonNode* hang = members.Find("hang"))
    {
        fault.hang = ReadFlag(*hang, "whether the call hangs");
    }
    if (SUCCEEDED(fault.status) && fault.delay == 0 && !fault.hang)
    {
        Expected(node, "a failing \"status\", a \"delayMs\" or \"hang\"");
    }
    return fault;
}

ProcessSecurity ReadSecurity(const JsonNode& node)
{
    static const std::map<std::wstring, DWORD> levels{{L"anonymous", RPC_C_IMP_LEVEL_ANONYMOUS},
                                                      {L"identify", RPC_C_IMP_LEVEL_IDENTIFY},
                                                      {L"impersonate", RPC_C_IMP_LEVEL_IMPERSONATE},
                                                      {L"delegate", RPC_C_IMP_LEVEL_DELEGATE}};
    const std::string what = "an impersonation level (anonymous, identify, impersonate, delegate)";
    const Members members{node, {"impersonation"}};
    const JsonNode& level = members.Require("impersonation");
    const auto found = levels.find(ReadText(level, what));
    if (found == levels.end())
    {
        Expected(level, what);
    }
    return {found->second};
}

Session ReadSession(const JsonNode& node)
{
    const Members members{node, {"signedIn", "id", "user", "profile", "environment", "sessionApi"}};
    Session session;
    session.signedIn = ReadFlag(members.Require("signedIn"), "whether somebody is signed in");
    session.id = static_cast<DWORD>(OptionalInteger(members, "id", "a session number", 1, 0, UINT32_MAX - 1));
    session.user = OptionalText(members, "user", "the user's name");
    session.profile = OptionalText(members, "profile", "the user's profile folder");
    if (const JsonNode* environment = members.Find("environment"))
    {
        for (const JsonMember* member : ReadMap(*environment, "an object with environment variables"))
        {
            std::wstring name = ToUtf16(member->key);
            if (std::ranges::any_of(session.environment, [&](const auto& v) { return EqualNoCase(v.first, name); }))
            {
                throw DescriptionError{member->where,
                                       "expected each variable once, found \"" + member->key + "\" again"};
            }
            session.environment.emplace_back(std::move(name), ReadText(member->value, "the variable's value"));
        }
    }
    if (const JsonNode* sessionApi = members.Find("sessionApi"))
    {
        session.sessionApi = ReadFlag(*sessionApi, "whether the session API set is present");
    }
    return session;
}

Package ReadPackage(const JsonNode& node)
{
    const Members members{node, {"family", "fullNames", "alias", "executable"}};
    Package package;
    package.family = ReadNonEmptyText(members.Require("family"), "the package family name");
    package.alias = OptionalText(members, "alias", "the execution alias");
    package.executable = OptionalText(members, "executable", "a program");
    for (const JsonNode& name : ReadList(members.Require("fullNames"), "a list of full names"))
    {
        package.fullNames.push_back(ReadPackageName(name));
    }
    return package;
}

} // namespace Zv::Simulator
