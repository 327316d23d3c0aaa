// One firmware event that a companion app waits for.
#pragma once

#include "Logging/Logging.h"
#include "Services/WMI/Hotkeys/PrivateSession.h"
#include "Shared/Contract/ProgressCallback.h"

#include <memory>
#include <string>

namespace Zv::Tessel::Server::Services::WMI
{

class WMIService;

// Subscribes to one firmware event through the module's own commands, on a detached thread that sits in the register
// command for as long as the subscription lasts.
//
// Lifetime: must outlive its thread's use of it. The listeners hold it in static storage and the module pins itself
// once the thread runs, so that it is destroyed at the end of the process only, when no other thread runs; see
// docs/lifecycle.md.
// Threads: SetupListner is called once, by the thread that made the object. The listening thread then reads the
// members, which nobody changes any more.
class EventListner
{
public:
    // name: the app's package family name. Throws std::bad_alloc.
    EventListner(std::wstring appName, Logging::TraceLogger* log);
    EventListner(const EventListner&) = delete;
    EventListner& operator=(const EventListner&) = delete;
    // Ends the subscription. At the end of the process it leaves everything as it is: locks may have been left held by
    // threads that are gone, COM may have been shut down, and the system takes back what is still allocated.
    ~EventListner();

    // Starts to listen; the callback is called on the listening thread. A failure is logged only.
    void SetupListner(int id, ProgressCallback callback) noexcept;

private:
    void ListenForEvents(const std::wstring& appName, const ProgressCallback& callback) const noexcept;
    void EndSubscription() const noexcept;
    [[nodiscard]] JsonDocument Request() const;

    std::wstring name;
    std::unique_ptr<WMIService> service;
    PrivateSession context;                 // null until SetupListner
    std::unique_ptr<wchar_t[]> contextName; // the client id of the session
    int eventId = 0;
    Logging::TraceLogger* logger; // not owned, may be null
};

} // namespace Zv::Tessel::Server::Services::WMI
