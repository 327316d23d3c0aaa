// The module's service object.
#pragma once

#include "Logging/Logging.h"
#include "Services/ZVService.h"
#include "Shared/Contract/Export.h"
#include "Shared/Json/JsonDocument.h"
#include "Shared/Log/ClassLog.h"

#include <cstdint>
#include <vector>

namespace Zv::Tessel::Server::Services::WMI
{

class WMIServiceContext;

// Runs the commands of the host's sessions. Read-only after construction: every operation may be called from any
// thread at the same time. It holds nothing per session; that lives in WMIServiceContext.
class WMIService : public ZVService
{
public:
    ZV_EXPORT WMIService();
    // Shares the logger, copies the list.
    ZV_EXPORT WMIService(const WMIService& other);
    WMIService& operator=(const WMIService&) = delete;

#if defined(_MSC_VER)
    ~WMIService() override;
#else
    ~WMIService();
    void* DeletingDestructor(unsigned int flags) noexcept override;
#endif

    int StartSession(wchar_t* clientId, void** session) override;
    int EndSession(void** session) override;
    int ExecuteCommand(void* session, unsigned int function, wchar_t* request, wchar_t** response,
                       ProgressCallbackArgument callback, RequestConfiguration* configuration) override;
    void startup_task() override;
    void ReservedHook6() override;
    void ReservedHook7() override;
    void ReservedHook9() override;
    void ReservedHook10() override;

private:
    struct Call;
    struct Command;

    // Steps of ExecuteCommand between pinning the session and releasing it.
    int Dispatch(Call& call, unsigned int function, wchar_t* request, wchar_t** response);
    int RunCommand(Call& call, unsigned int function);
    int HandOut(const JsonDocument& document, wchar_t** response, int result, const wchar_t* clientId) const;
    [[nodiscard]] bool ToleratesParseFailure(unsigned int function) const noexcept;
    static const Command* FindCommand(unsigned int function) noexcept;

    // The command handlers. Each returns a result code and fills the response document. What it throws ends at the
    // dispatcher (HandlerEdge.h).
    int ExecuteBiosWmiCommand(JsonDocument* request, JsonDocument* response, const wchar_t* logContext);
    int RegisterBiosEventNotification(JsonDocument* request, JsonDocument* response, ProgressCallback progressCallback,
                                      WMIServiceContext* context);
    int UnregisterBiosWmiEventNotification(JsonDocument* request, JsonDocument* response, WMIServiceContext* context);
    int GetWmiPropertyValue(JsonDocument* request, JsonDocument* response, bool asArray, const wchar_t* logContext);
    int SetBiosSetting(JsonDocument* request, JsonDocument* response, const wchar_t* logContext);
    int SetBiosSystemDefaults(JsonDocument* request, JsonDocument* response, const wchar_t* logContext);
    int GetWmiClassObjectText(JsonDocument* request, JsonDocument* response, ProgressCallback progressCallback,
                              const wchar_t* logContext);

    [[nodiscard]] Shared::ClassLog Log(const wchar_t* logContext) const noexcept
    {
        return {logger, className, logContext};
    }

    Logging::TraceLogger* logger; // not owned, may be null
    const char* className;        // not owned
    std::vector<std::uint32_t> parseTolerantFunctions;
};

} // namespace Zv::Tessel::Server::Services::WMI
