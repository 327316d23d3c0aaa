// The host's own calls of the service, within which the module's calls are made.
#pragma once

#include "Host/Trace/Traced.h"

#include <string_view>

namespace Zv::Host::Tracing
{

// One of the service's operations that takes nothing that is worth showing.
[[nodiscard]] TracedCall TraceOperation(const char* name) noexcept;

// A command, with request and response.
class TracedCommand
{
public:
    TracedCommand(unsigned int function, std::wstring_view request) noexcept;

    void End(int code, const wchar_t* response) noexcept;

private:
    const unsigned int m_function;
    bool m_asksForSecret = false;
    TracedCall m_call;
};

// What a command gives its client while it runs.
[[nodiscard]] TracedCall TraceProgress(unsigned int function, const wchar_t* text) noexcept;

} // namespace Zv::Host::Tracing
