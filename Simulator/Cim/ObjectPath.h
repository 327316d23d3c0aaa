// Names of objects: \\SERVER\root\wmi:zvqBIntM.InstanceName="ACPI\\PNP0C14\\0_0".
#pragma once

#include "Simulator/Cim/CimModel.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Zv::Simulator
{

struct ObjectPath
{
    std::wstring nameSpace; // as it stood, with the server when there was one; empty when the path is relative
    std::wstring className;
    bool isInstance = false;
    std::vector<std::pair<std::wstring, std::wstring>> keys; // property (empty: the only key) and value as text
};

// Empty when the text is no object path.
[[nodiscard]] std::optional<ObjectPath> ParseObjectPath(std::wstring_view text);

// Whether the path's key values are the instance's.
[[nodiscard]] bool Names(const ObjectPath& path, const Object& instance);

// InstanceName="ACPI\\PNP0C14\\0_0", the part of an instance's path after the first dot; empty without key properties.
[[nodiscard]] std::wstring KeyOf(const Object& instance);

// The system properties __RELPATH and __PATH; empty for an instance without a key.
[[nodiscard]] std::wstring RelativePath(const Object& object);
[[nodiscard]] std::wstring FullPath(const Object& object);

// The namespace that a path given to ConnectServer means, in a form to compare with: \\.\root\wmi, root/wmi and
// ROOT\WMI are one. Empty when no namespace can be spelt so.
struct NamespaceName
{
    std::wstring server; // empty: this machine
    std::wstring path;   // empty: only a server was named
};
[[nodiscard]] std::optional<NamespaceName> ParseNamespace(std::wstring_view text);

} // namespace Zv::Simulator
