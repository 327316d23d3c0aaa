// One call of the command that relays firmware events.
#pragma once

#include "Services/WMI/EventResult.h"
#include "Shared/Contract/ProgressCallback.h"
#include "Shared/Json/JsonDocument.h"
#include "Shared/Log/ClassLog.h"
#include "Shared/WMI/BiosWmiEventSink.h"

#include <windows.h>

namespace Zv::Tessel::Server::Services::WMI
{

class WMIServiceContext;

// Sets up the session's subscription and passes its events to the client's callback until it is told to stop. In a
// session that has such a call waiting already, it only adds its filter.
//
// Lives on the stack of the calling host thread, for one call. The session is pinned by the caller. Whatever ends the
// call, an exception included, the session is left without a waiting registration.
class EventRegistration
{
public:
    // log: writes as the service class. It and the session must outlive this object.
    EventRegistration(WMIServiceContext& session, const Shared::ClassLog& log) noexcept : m_session{session}, m_log{log}
    {
    }
    EventRegistration(const EventRegistration&) = delete;
    EventRegistration& operator=(const EventRegistration&) = delete;
    ~EventRegistration();

    // Returns a result code. Throws the result code, as an int, of a request that is not usable, std::bad_alloc, and
    // what the callback raises unless that is a std::exception.
    [[nodiscard]] int Run(JsonDocument& request, JsonDocument& response, const ProgressCallback& callback);

private:
    enum class Start
    {
        Waits,         // this call is to wait for events
        JoinedAnother, // the response is complete
        Failed
    };

    [[nodiscard]] Start SetUp(JsonDocument& request, JsonDocument& response);
    [[nodiscard]] RegisterResult ApplyFilter(JsonDocument& request);
    [[nodiscard]] bool CreateEvents() noexcept;
    [[nodiscard]] HRESULT SetupSink() noexcept;
    void RelayEvents(const ProgressCallback& callback);
    [[nodiscard]] bool RelayOne(const ProgressCallback& callback);
    void ReportUnlessCleared(bool cleared) const;

    WMIServiceContext& m_session;
    const Shared::ClassLog& m_log;
    bool m_ownsListener = false; // this call made the session's events and must clear them
    bool m_sessionEnded = false; // before this call could wait
    HRESULT m_sinkStatus = S_OK;
    HANDLE m_events[2] = {}; // stop, callback: those of the session, in the order in which they are waited for
    Shared::WMI::BiosWmiEventSink* m_sink = nullptr; // kept alive by the session's subscription
};

} // namespace Zv::Tessel::Server::Services::WMI
