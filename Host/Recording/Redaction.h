// Keeps what tells about a machine's owner out of a recorded description.
#pragma once

#include "Simulator/Description/Description.h"

#include <string>
#include <string_view>

namespace Zv::Host
{

// Whether a property or setting of that name holds what tells about the owner, or a password.
[[nodiscard]] bool IsSecretName(std::wstring_view name);

// The user's part of C:\Users\Robin\... replaced, with single or doubled backslashes.
[[nodiscard]] std::wstring WithoutUserFolders(std::wstring text);

// Replaces serial numbers and the like, user names and passwords in all instances: the values of properties that hold
// them, settings of such names, folders of users, and what was found so wherever else it stands. The same text has the
// same replacement everywhere, so that keys stay distinct and objects still refer to each other.
void Redact(Simulator::Description& description);

} // namespace Zv::Host
