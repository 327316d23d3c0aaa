#include "Host/Trace/TracedService.h"

#include "Host/Explain/ResultCodes.h"
#include "Host/Trace/Traced.h"
#include "Platform/Windows/Utf8.h"

#include <cwchar>

namespace Zv::Host::Tracing
{

using namespace Tessel::Server::Services;

namespace
{

// One of the service's operations that takes nothing that is worth showing.
TracedCall TraceOperation(const char* name) noexcept
{
    return TracedCall{[name](TraceLog&, Fields&) { return std::string{name}; }, ""};
}

// What a command gives its client while it runs.
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

} // namespace

int TracedService::StartSession(wchar_t* clientId, void** session)
{
    const TracedCall call = TraceOperation("StartSession");
    return m_service.StartSession(clientId, session);
}

int TracedService::EndSession(void** session)
{
    const TracedCall call = TraceOperation("EndSession");
    return m_service.EndSession(session);
}

int TracedService::ExecuteCommand(void* session, unsigned int function, wchar_t* request, wchar_t** response,
                                  ProgressCallbackArgument callback, RequestConfiguration* configuration)
{
    const ProgressCallbackGuard guard{callback};
    const ProgressCallback progress{callback};
    bool asksForSecret = false;
    TracedCall call{[&](TraceLog& log, Fields& fields) {
        asksForSecret = Secrets::AsksForSecret(request);
        fields.emplace_back("function", std::to_string(function));
        fields.emplace_back("request", log.GetSecrets().Request(request, log.Options().data));
        return std::string{"ExecuteCommand"};
    }};
    const int code = m_service.ExecuteCommand(session, function, request, response,
                                              ProgressCallback{[&progress, function](wchar_t* text) {
                                                  const TracedCall given = TraceProgress(function, text);
                                                  progress(text);
                                              }},
                                              configuration);
    call.End([&](const TraceLog& log, Fields& fields) {
        if (*response == nullptr || asksForSecret)
        {
            fields.emplace_back("response", *response == nullptr ? "null" : Hidden);
        }
        else
        {
            fields.emplace_back("response", log.GetSecrets().Response(function, ToUtf8(*response), log.Options().data));
        }
        const ResultCodeInfo* const info = FindResultCode(code);
        return HexCode(code) + (info != nullptr ? std::string{" ("} + info->name + ')' : "");
    });
    return code;
}

void TracedService::startup_task()
{
    const TracedCall call = TraceOperation("startup_task");
    m_service.startup_task();
}

} // namespace Zv::Host::Tracing
