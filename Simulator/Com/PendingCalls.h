// Calls that go on after they have returned: semisynchronous and asynchronous ones.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Platform/Windows/Lock.h"
#include "Simulator/Cim/CimModel.h"
#include "Simulator/State/Worker.h"

#include <wbemcli.h>

#include <functional>
#include <memory>
#include <span>
#include <vector>

namespace Zv::Simulator
{

struct Core;

// One such call. Its end, by what it does or by cancelling, happens once. A sink is never called under the lock. Safe
// on several threads.
class PendingCall
{
public:
    // Null for a semisynchronous call, whose result is fetched.
    explicit PendingCall(IWbemObjectSink* sink);

    // Hands objects to the sink unless the call has ended.
    void Deliver(const std::shared_ptr<Core>& core, std::span<const ObjectPtr> objects);
    // Tells the sink. False when the call had ended before.
    bool End(HRESULT status, ObjectPtr result = nullptr);

    [[nodiscard]] bool IsFor(const IWbemObjectSink& sink) const noexcept { return m_sink.Get() == &sink; }
    [[nodiscard]] bool HasEnded() const;
    // False when the call has not ended within the time.
    [[nodiscard]] bool WaitForEnd(DWORD milliseconds, HRESULT& status, ObjectPtr& result) const;

private:
    const Tessel::Server::Shared::WMI::ComPtr<IWbemObjectSink> m_sink;
    mutable Tessel::Server::Shared::Lock m_lock;
    mutable Tessel::Server::Shared::Condition m_changed;
    // All guarded by m_lock.
    bool m_ended = false;
    HRESULT m_status = S_OK;
    ObjectPtr m_result;
};
using PendingCallPtr = std::shared_ptr<PendingCall>;

// Those of one machine, each on a thread of its own. Safe on several threads.
class PendingCalls
{
public:
    // What the call does; it delivers, or sets the result, and returns the status that the call ends with.
    using Body = std::function<HRESULT(PendingCall& call, ObjectPtr& result)>;

    // The body must own what it uses. Throws std::bad_alloc or std::system_error.
    void Start(const PendingCallPtr& call, Body body);
    // Ends the sink's calls; false when it has none. What they still do is dropped.
    [[nodiscard]] bool Cancel(IWbemObjectSink& sink);
    // Returns how many threads would not end in time.
    [[nodiscard]] std::size_t Stop(DWORD milliseconds) noexcept;

private:
    Tessel::Server::Shared::Lock m_lock;
    // All guarded by m_lock.
    std::vector<std::weak_ptr<PendingCall>> m_calls; // and some that have ended; their threads keep them
    std::vector<Worker> m_workers;                   // likewise
};

} // namespace Zv::Simulator
