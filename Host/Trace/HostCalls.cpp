#include "Host/Trace/HostCalls.h"

#include "Host/Explain/ResultCodes.h"
#include "Host/Text/Utf.h"

#include "Services/ZVService.h"

#include <cwchar>

namespace Zv::Host::Tracing
{

using Tessel::Server::Services::FunctionNumber;

TracedCall TraceOperation(const char* name) noexcept
{
    return TracedCall{[name](TraceLog&, Fields&) { return std::string{name}; }, ""};
}

TracedCommand::TracedCommand(unsigned int function, std::wstring_view request) noexcept
    : m_function{function},
      m_call{[&](TraceLog& log, Fields& fields) {
          m_asksForSecret = Secrets::AsksForSecret(request);
          fields.emplace_back("function", std::to_string(function));
          fields.emplace_back("request", log.GetSecrets().Request(request, log.Options().data));
          return std::string{"ExecuteCommand"};
      }}
{
}

void TracedCommand::End(int code, const wchar_t* response) noexcept
{
    m_call.End([&](const TraceLog& log, Fields& fields) {
        if (response == nullptr || m_asksForSecret)
        {
            fields.emplace_back("response", response == nullptr ? "null" : Hidden);
        }
        else
        {
            fields.emplace_back("response",
                                log.GetSecrets().Response(m_function, ToUtf8(response), log.Options().data));
        }
        const ResultCodeInfo* const info = FindResultCode(code);
        return HexCode(code) + (info != nullptr ? std::string{" ("} + info->name + ')' : "");
    });
}

TracedCall TraceProgress(unsigned int function, const wchar_t* text) noexcept
{
    return TracedCall{
        [&](TraceLog&, Fields& fields) {
            // Events are shown, texts of objects hold what tells about the machine's owner.
            const bool isEvent = function == static_cast<unsigned int>(FunctionNumber::RegisterBiosEventNotification);
            fields.emplace_back("text", isEvent ? ShowText(text) : std::to_string(wcslen(text)) + " characters");
            return std::string{"callback"};
        },
        ""};
}

} // namespace Zv::Host::Tracing
