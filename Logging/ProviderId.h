// The id of an ETW provider that is known by its name.
#pragma once

#include <windows.h>

namespace Logging
{

// The id that event-source tools derive from a provider's name, so that they can enable the provider by name: a name
// hash like a version 5 UUID, of the upper-cased name. Names that differ in case give the same id.
[[nodiscard]] GUID ProviderIdFromName(const wchar_t* name) noexcept;

} // namespace Logging
