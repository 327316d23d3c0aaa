// Dispatch: from the host's call to a command handler and back.

#include "Services/WMI/WMIService.h"

#include "Platform/GccRuntime/HostCall.h"
#include "Platform/Windows/CheckedCopy.h"
#include "Services/UtilHelper.h"
#include "Services/WMI/HandlerEdge.h"
#include "Services/WMI/WMIServiceContext.h"
#include "Shared/Json/JsonText.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <iterator>

namespace Zv::Tessel::Server::Services::WMI
{

namespace
{

// The longest response, in characters without its terminator.
constexpr std::size_t MaxResponseLength = 65535;

// Gives a reference on a session back.
class SessionReference
{
public:
    explicit SessionReference(WMIServiceContext& adopted) noexcept : m_context{adopted} {}
    SessionReference(const SessionReference&) = delete;
    SessionReference& operator=(const SessionReference&) = delete;
    ~SessionReference() { m_context.Release(false); }

private:
    WMIServiceContext& m_context;
};

// A document whose first part lies on the stack. It holds the base64 of the largest firmware command, so that only
// queries with long results take one of the pool's large chunks from the heap, which cost more than all the JSON of
// such a command.
class StackBackedDocument
{
public:
    JsonDocument& Get() noexcept { return m_document; }

private:
    alignas(std::max_align_t) std::byte m_first[16384];
    ThrowingAllocator m_base;
    JsonAllocator m_pool{m_first, sizeof m_first, JsonChunkSize, &m_base};
    JsonDocument m_document{&m_pool, 1024, &m_base};
};

} // namespace

struct WMIService::Call
{
    WMIService& service;
    WMIServiceContext& context;
    ProgressCallbackArgument& callback;
    JsonDocument& request;
    JsonDocument& response;

    [[nodiscard]] const wchar_t* ClientId() const noexcept { return context.clientId.get(); }
    [[nodiscard]] ProgressCallback CopyOfCallback() const
    {
        try
        {
            ProgressCallback copy;
            Shared::CallHost([&] { copy = ProgressCallback{callback}; });
            return copy;
        }
        catch (...)
        {
            throw static_cast<int>(GeneralFailure); // whatever it was: an int of the host's is no result code of ours
        }
    }
};

struct WMIService::Command
{
    FunctionNumber number;
    int (*run)(Call& call);
};

const WMIService::Command* WMIService::FindCommand(unsigned int function) noexcept
{
    static constexpr Command commands[] = {
        {FunctionNumber::ExecuteBiosWmiCommand,
         [](Call& c) { return c.service.ExecuteBiosWmiCommand(&c.request, &c.response, c.ClientId()); }},
        {FunctionNumber::RegisterBiosEventNotification,
         [](Call& c) {
             return c.service.RegisterBiosEventNotification(&c.request, &c.response, c.CopyOfCallback(), &c.context);
         }},
        {FunctionNumber::UnregisterBiosWmiEventNotification,
         [](Call& c) { return c.service.UnregisterBiosWmiEventNotification(&c.request, &c.response, &c.context); }},
        {FunctionNumber::GetWmiPropertyValue,
         [](Call& c) { return c.service.GetWmiPropertyValue(&c.request, &c.response, false, c.ClientId()); }},
        {FunctionNumber::GetWmiPropertyValues,
         [](Call& c) { return c.service.GetWmiPropertyValue(&c.request, &c.response, true, c.ClientId()); }},
        {FunctionNumber::SetBiosSetting,
         [](Call& c) { return c.service.SetBiosSetting(&c.request, &c.response, c.ClientId()); }},
        {FunctionNumber::SetBiosSystemDefaults,
         [](Call& c) { return c.service.SetBiosSystemDefaults(&c.request, &c.response, c.ClientId()); }},
        {FunctionNumber::GetWmiClassObjectText,
         [](Call& c) {
             return c.service.GetWmiClassObjectText(&c.request, &c.response, c.CopyOfCallback(), c.ClientId());
         }},
    };
    const auto* const found = std::ranges::find(commands, static_cast<FunctionNumber>(function), &Command::number);
    return found == std::end(commands) ? nullptr : found;
}

int WMIService::ExecuteCommand(void* session, unsigned int function, wchar_t* request, wchar_t** response,
                               ProgressCallbackArgument callback, RequestConfiguration* /*configuration*/)
{
    const ProgressCallbackGuard callbackGuard{callback};
    if (session == nullptr)
    {
        return GeneralFailure;
    }

    auto& context = *static_cast<WMIServiceContext*>(session);
    context.AddRef();

    StackBackedDocument requestDocument;
    StackBackedDocument responseDocument;
    const SessionReference sessionReference{context}; // goes before the documents and the callback do
    Call call{*this, context, callback, requestDocument.Get(), responseDocument.Get()};
    try
    {
        return Dispatch(call, function, request, response);
    }
    catch (...)
    {
        // Out of memory: nothing leaves the module, and the host finds no text to give back.
        if (response != nullptr)
        {
            *response = nullptr;
        }
        return GeneralFailure;
    }
}

int WMIService::Dispatch(Call& call, unsigned int function, wchar_t* request, wchar_t** response)
{
    if (UtilHelper::NullChecker({{request, "message"}, {response, "outString"}}, call.ClientId()))
    {
        return GeneralFailure;
    }

    call.response.SetObject();
    if (!ParseJson(request, call.request) && !ToleratesParseFailure(function))
    {
        *response = nullptr;
        return RequestMalformed;
    }

    const int result = RunCommand(call, function);
    return HandOut(call.response, response, result, call.ClientId());
}

bool WMIService::ToleratesParseFailure(unsigned int function) const noexcept
{
    return std::ranges::find(parseTolerantFunctions, function) != parseTolerantFunctions.end();
}

int WMIService::RunCommand(Call& call, unsigned int function)
{
    const Command* const command = FindCommand(function);
    if (command == nullptr)
    {
        Log(call.ClientId()).Error(L"%S.%S - Unsupported Function call %d", "ExecuteCommand", function);
        return UnsupportedFunction;
    }
    return AtHandlerEdge([&] { return command->run(call); });
}

int WMIService::HandOut(const JsonDocument& document, wchar_t** response, int result, const wchar_t* clientId) const
{
    ThrowingAllocator heap;
    JsonStringBuffer text{&heap};
    WriteJson(document, text);
    const wchar_t* const terminated = text.GetString(); // may need memory: nothing has been handed out yet
    const std::size_t length = Length(text);
    if (length > MaxResponseLength)
    {
        return ResponseTooLong;
    }

    const std::size_t size = length + 1;
    *response = static_cast<wchar_t*>(std::malloc(size * sizeof(wchar_t)));
    if (*response == nullptr)
    {
        Log(clientId).Error(L"%S.%S - cannot allocate memory for %s", "ExecuteCommand", L"*outString");
        return GeneralFailure;
    }
    Shared::CheckedCopy(*response, size, terminated);
    return result;
}

} // namespace Zv::Tessel::Server::Services::WMI
