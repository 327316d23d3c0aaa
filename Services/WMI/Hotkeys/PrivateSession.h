// Sessions that the module opens for itself, to use its own commands as any client would.
#pragma once

#include "Services/WMI/WMIServiceContext.h"
#include "Services/ZVService.h"
#include "Shared/Contract/ProgressCallback.h"
#include "Shared/Json/JsonDocument.h"

#include <cstdlib>
#include <memory>

namespace Zv::Tessel::Server::Services::WMI
{

// Gives up a session as its host does: its waiting registration ends.
struct EndPrivateSession
{
    void operator()(WMIServiceContext* context) const noexcept { context->Release(true); }
};

// One reference on a session.
using PrivateSession = std::unique_ptr<WMIServiceContext, EndPrivateSession>;

// A text that a command handed out.
struct FreeResponse
{
    void operator()(wchar_t* text) const noexcept { std::free(text); }
};
using ResponseText = std::unique_ptr<wchar_t, FreeResponse>;

// Throws std::bad_alloc.
[[nodiscard]] PrivateSession OpenPrivateSession(wchar_t* clientId);

// Runs a command through the service's virtual interface. Its result code does not count; the response may be null.
// Throws std::bad_alloc.
ResponseText RunPrivateCommand(ZVService& service, WMIServiceContext* session, FunctionNumber function,
                               const JsonDocument& request, const ProgressCallback& callback);

} // namespace Zv::Tessel::Server::Services::WMI
