#include "Simulator/Cim/ObjectPath.h"
#include "Simulator/Description/ClassReader.h"
#include "Simulator/Description/Description.h"
#include "Simulator/Description/EnvironmentReader.h"
#include "Simulator/Description/NodeReader.h"

#include <algorithm>
#include <string_view>

namespace Zv::Simulator
{

namespace
{

constexpr std::int64_t Version = 1;
constexpr std::string_view Schema = "$schema"; // what editors complete from; may stand before everything else

void CheckVersion(const JsonNode& root)
{
    if (root.kind != JsonNode::Kind::Object)
    {
        Expected(root, "a machine description, an object");
    }
    const auto first =
        std::ranges::find_if(root.members, [](const JsonMember& member) { return member.key != Schema; });
    if (first == root.members.end() || first->key != "version")
    {
        throw DescriptionError{first == root.members.end() ? root.where : first->where,
                               "expected \"version\": " + std::to_string(Version) + " as the first member"};
    }
    const JsonNode& version = first->value;
    if (version.kind != JsonNode::Kind::Integer || version.integer != Version)
    {
        Expected(version, "version " + std::to_string(Version));
    }
}

// Every namespace knows the ones below it by instances of the system class __NAMESPACE.
ClassEntry NamespaceClass(const std::wstring& server, const std::wstring& path)
{
    auto definition = std::make_shared<Class>();
    definition->name = L"__NAMESPACE";
    definition->server = server;
    definition->nameSpace = path;
    Property name;
    name.name = L"Name";
    name.key = true;
    definition->properties.push_back(std::move(name));
    return {std::move(definition), {}};
}

// Adds a namespace and its parents unless they are there; returns it.
Namespace& AddNamespace(Description& description, const std::wstring& path)
{
    for (Namespace& existing : description.namespaces)
    {
        if (EqualNoCase(existing.path, path))
        {
            return existing;
        }
    }
    if (const std::size_t separator = path.rfind(L'\\'); separator != std::wstring::npos)
    {
        Namespace& parent = AddNamespace(description, path.substr(0, separator));
        ClassEntry& children = parent.classes.front();
        const auto child = MakeInstance(children.definition);
        child->values.front() = path.substr(separator + 1);
        children.instances.push_back(child);
    }
    description.namespaces.push_back({path, {NamespaceClass(description.server, path)}});
    return description.namespaces.back();
}

void ReadNamespace(const JsonNode& node, bool hasSettings, Description& description, std::vector<std::wstring>& read)
{
    const Members members{node, {"path", "classes"}};
    const JsonNode& pathNode = members.Require("path");
    const std::optional<NamespaceName> name = ParseNamespace(ReadText(pathNode, "a namespace path"));
    if (!name || !name->server.empty())
    {
        Expected(pathNode, "a namespace path such as \"root\\\\wmi\"");
    }
    for (const std::wstring& other : read)
    {
        if (EqualNoCase(other, name->path))
        {
            Expected(pathNode, "a namespace that this machine does not have yet");
        }
    }
    read.push_back(name->path);
    Namespace& nameSpace = AddNamespace(description, name->path);
    ClassReader reader{description.server, nameSpace.path, hasSettings, description.ruleLimits};
    for (ClassEntry& entry : reader.Read(members.Require("classes")))
    {
        nameSpace.classes.push_back(std::move(entry));
    }
}

} // namespace

const Namespace* Description::FindNamespace(std::wstring_view path) const noexcept
{
    for (const Namespace& nameSpace : namespaces)
    {
        if (EqualNoCase(nameSpace.path, path))
        {
            return &nameSpace;
        }
    }
    return nullptr;
}

Description ReadDescription(std::string_view json)
{
    const JsonNode root = ParseJson(json);
    CheckVersion(root);
    const Members members{root,
                          {"version", "name", "server", "namespaces", "settings", "events", "faults", "security",
                           "session", "packages", Schema}};
    if (const JsonNode* schema = members.Find(Schema))
    {
        static_cast<void>(ReadText(*schema, "the schema's address"));
    }
    Description description;
    description.name = ReadText(members.Require("name"), "the machine's name");
    if (const JsonNode* server = members.Find("server"))
    {
        description.server = ReadNonEmptyText(*server, "the machine's network name");
    }
    std::vector<std::wstring> read;
    for (const JsonNode& node : ReadList(members.Require("namespaces"), "a list of namespaces"))
    {
        ReadNamespace(node, members.Find("settings") != nullptr, description, read);
    }
    if (const JsonNode* settings = members.Find("settings"))
    {
        description.settings = ReadSettings(*settings, description);
    }
    if (const JsonNode* events = members.Find("events"))
    {
        description.events = ReadEvents(*events, description);
    }
    if (const JsonNode* faults = members.Find("faults"))
    {
        for (const JsonNode& fault : ReadList(*faults, "a list of faults"))
        {
            description.faults.push_back(ReadFault(fault));
        }
    }
    if (const JsonNode* security = members.Find("security"))
    {
        description.security = ReadSecurity(*security);
    }
    if (const JsonNode* session = members.Find("session"))
    {
        description.session = ReadSession(*session);
    }
    if (const JsonNode* packages = members.Find("packages"))
    {
        for (const JsonNode& package : ReadList(*packages, "a list of packages"))
        {
            Package next = ReadPackage(package);
            if (std::ranges::any_of(description.packages,
                                    [&](const Package& other) { return EqualNoCase(other.family, next.family); }))
            {
                Expected(package, "a package whose family no other package has");
            }
            description.packages.push_back(std::move(next));
        }
    }
    return description;
}

} // namespace Zv::Simulator
