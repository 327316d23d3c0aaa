// Fresh UUIDs as text.
#pragma once

#include <string>

namespace Zv::Tessel::Server::Shared::WMI
{

// A new UUID in the platform's canonical text form (36 lower-case characters, no braces).
std::wstring NewUuidString();

} // namespace Zv::Tessel::Server::Shared::WMI
