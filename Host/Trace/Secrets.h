// What a trace must not show.
#pragma once

#include "Platform/Windows/Lock.h"

#include <set>
#include <string>
#include <string_view>

namespace Zv::Host::Tracing
{

inline constexpr char Hidden[] = "***";

// Texts that were found to be secret where they stood under a name that says so; hidden from then on wherever else they
// stand. Safe on several threads.
class Secrets
{
public:
    void Learn(std::wstring_view secret);

    // Without secrets and folders of users.
    [[nodiscard]] std::wstring Clean(std::wstring_view text) const;

    // A request as JSON, or what is to be said of one that is none. Passwords, the value of a setting that is called as
    // if it held one, and with them what they are, are learnt. Firmware's bytes are told by their number unless
    // withData.
    [[nodiscard]] std::string Request(std::wstring_view request, bool withData);
    // Whether a request asks for a property that is called as if it held what is secret.
    [[nodiscard]] static bool AsksForSecret(std::wstring_view request);
    // The response to a request.
    [[nodiscard]] std::string Response(unsigned int function, std::string_view response, bool withData) const;

private:
    mutable Tessel::Server::Shared::Lock m_lock;
    std::set<std::wstring> m_texts; // guarded by m_lock
};

} // namespace Zv::Host::Tracing
