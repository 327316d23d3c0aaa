// Runs queries on a namespace of a machine.
#pragma once

#include "Simulator/Com/Core.h"
#include "Simulator/Com/Enumerator.h"

#include <string_view>

namespace Zv::Simulator
{

// The entry of a class, null when the namespace has none of that name.
[[nodiscard]] const ClassEntry* FindClass(const Namespace& nameSpace, std::wstring_view name) noexcept;

// The result's status tells what is wrong with the query: WBEM_E_INVALID_QUERY, WBEM_E_INVALID_CLASS. With `located`
// the objects know their path though the query's list leaves it out.
[[nodiscard]] ResultSetPtr RunQuery(Core& core, const Namespace& nameSpace, std::wstring_view query, bool located);
// The classes below another, or all for an empty name.
[[nodiscard]] ResultSetPtr ClassesOf(const Namespace& nameSpace, std::wstring_view superclass);
[[nodiscard]] ResultSetPtr InstancesOf(Core& core, const Namespace& nameSpace, std::wstring_view className);

} // namespace Zv::Simulator
