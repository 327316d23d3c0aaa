// Names of numbers that the module passes to the platform.
#pragma once

#include <windows.h>

#include <objbase.h>
#include <wbemcli.h>

#include <array>
#include <cstdint>
#include <string>

namespace Zv::Host::Tracing
{

struct NumberName
{
    std::int64_t value;
    const char* name;
};

inline constexpr std::array Apartments = {NumberName{COINIT_MULTITHREADED, "COINIT_MULTITHREADED"},
                                          NumberName{COINIT_APARTMENTTHREADED, "COINIT_APARTMENTTHREADED"}};
inline constexpr std::array Contexts = {NumberName{CLSCTX_INPROC_SERVER, "CLSCTX_INPROC_SERVER"},
                                        NumberName{CLSCTX_LOCAL_SERVER, "CLSCTX_LOCAL_SERVER"}};
inline constexpr std::array AuthenticationServices = {NumberName{RPC_C_AUTHN_WINNT, "RPC_C_AUTHN_WINNT"}};
inline constexpr std::array AuthorizationServices = {NumberName{RPC_C_AUTHZ_NONE, "RPC_C_AUTHZ_NONE"}};
inline constexpr std::array AuthenticationLevels = {NumberName{RPC_C_AUTHN_LEVEL_DEFAULT, "RPC_C_AUTHN_LEVEL_DEFAULT"},
                                                    NumberName{RPC_C_AUTHN_LEVEL_CALL, "RPC_C_AUTHN_LEVEL_CALL"}};
inline constexpr std::array ImpersonationLevels = {
    NumberName{RPC_C_IMP_LEVEL_IMPERSONATE, "RPC_C_IMP_LEVEL_IMPERSONATE"}};
inline constexpr std::array TokenLevels = {NumberName{SecurityImpersonation, "SecurityImpersonation"}};
inline constexpr std::array TokenTypes = {NumberName{TokenPrimary, "TokenPrimary"},
                                          NumberName{TokenImpersonation, "TokenImpersonation"}};
inline constexpr std::array Booleans = {NumberName{FALSE, "FALSE"}, NumberName{TRUE, "TRUE"}};
inline constexpr std::array Timeouts = {NumberName{0xFFFFFFFF, "INFINITE"}, NumberName{-1, "WBEM_INFINITE"}};
inline constexpr std::array WbemFlags = {NumberName{WBEM_FLAG_RETURN_IMMEDIATELY, "WBEM_FLAG_RETURN_IMMEDIATELY"},
                                         NumberName{WBEM_FLAG_FORWARD_ONLY, "WBEM_FLAG_FORWARD_ONLY"},
                                         NumberName{WBEM_FLAG_SEND_STATUS, "WBEM_FLAG_SEND_STATUS"}};
inline constexpr std::array ProcessFlags = {NumberName{CREATE_NEW_CONSOLE, "CREATE_NEW_CONSOLE"},
                                            NumberName{NORMAL_PRIORITY_CLASS, "NORMAL_PRIORITY_CLASS"},
                                            NumberName{CREATE_UNICODE_ENVIRONMENT, "CREATE_UNICODE_ENVIRONMENT"},
                                            NumberName{EXTENDED_STARTUPINFO_PRESENT, "EXTENDED_STARTUPINFO_PRESENT"}};

// The name of the one that it is.
template <const auto& Names>
[[nodiscard]] std::string OneOf(std::uint64_t value)
{
    for (const NumberName& entry : Names)
    {
        if (static_cast<std::uint64_t>(entry.value) == value)
        {
            return entry.name;
        }
    }
    return std::to_string(value);
}

// The names of the bits that are set, and what is left.
template <const auto& Names>
[[nodiscard]] std::string FlagsOf(std::uint64_t value)
{
    std::string text;
    const auto add = [&text](const std::string& part) { text += (text.empty() ? "" : "|") + part; };
    for (const NumberName& entry : Names)
    {
        if ((value & static_cast<std::uint64_t>(entry.value)) != 0)
        {
            add(entry.name);
            value &= ~static_cast<std::uint64_t>(entry.value);
        }
    }
    if (value != 0 || text.empty())
    {
        add(std::to_string(value));
    }
    return text;
}

} // namespace Zv::Host::Tracing
