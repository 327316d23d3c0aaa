// What listens for the firmware hotkeys of one companion app.
#pragma once

#include "Logging/Logging.h"
#include "Shared/Contract/ProgressCallback.h"

#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace Zv::Tessel::Server::Services::WMI
{

struct CompanionApp;
class EventListner;

// Made once per app and kept in static storage. Held by shared pointers that were made for the concrete class and
// destroy it as such: the table of virtual functions has no destructor.
// Threads: used by the thread that runs the start-up task only.
class IHotKeyListener
{
public:
    IHotKeyListener(const IHotKeyListener&) = delete;
    IHotKeyListener& operator=(const IHotKeyListener&) = delete;

    // Subscribes to the app's hotkeys if the board is supported. Returns whether it is.
    virtual bool hotkeyListener() = 0;

    [[nodiscard]] bool IsRunning() const noexcept { return isRunning; }
    void SetLogger(Logging::TraceLogger* log) noexcept { logger = log; }

    // The board's product id, empty when it cannot be read.
    [[nodiscard]] std::wstring getPlatformId() const noexcept;

    // Whether this machine's board is one of those; no boards at all stand for any board.
    [[nodiscard]] bool listenerShouldRun(const std::set<std::wstring>& supportedBoardIds) const noexcept;

protected:
    IHotKeyListener() = default;
    ~IHotKeyListener() = default;

    // hotkeyListener() of every app.
    bool Arm(const CompanionApp& app, const std::set<std::wstring>& supportedBoardIds,
             const std::vector<int>& hotkeyEventIds, void (*callback)(wchar_t*));

private:
    std::unordered_map<int, std::shared_ptr<EventListner>> eventListeners; // by event id
    bool isRunning = false;
    Logging::TraceLogger* logger = nullptr; // not owned
};

} // namespace Zv::Tessel::Server::Services::WMI
