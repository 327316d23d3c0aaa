// Which API sets the running Windows has.
#pragma once

namespace Zv::Tessel::Server::Services
{

class ApiSet
{
public:
    // Whether the contract (its name without the extension) can be called here. Windows before version 10 knows no such
    // question and counts as having every contract; a question that cannot be asked is answered with no.
    [[nodiscard]] static bool IsPresent(const char* contract) noexcept;
};

// The API set that the launcher needs, and what it logs where this Windows lacks it.
inline constexpr char SessionApiSet[] = "ext-ms-win-session-wtsapi32-l1-1-0";
inline constexpr wchar_t NoSessionApi[] =
    L"Problem in GetUserTokenForCurrentUser. Dependencies is not available in this platform.";

} // namespace Zv::Tessel::Server::Services
