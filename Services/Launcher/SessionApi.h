// The API set that the launcher needs, and what it logs where this Windows lacks it.
#pragma once

namespace Zv::Tessel::Server::Services
{

inline constexpr char SessionApiSet[] = "ext-ms-win-session-wtsapi32-l1-1-0";
inline constexpr wchar_t NoSessionApi[] =
    L"Problem in GetUserTokenForCurrentUser. Dependencies is not available in this platform.";

} // namespace Zv::Tessel::Server::Services
