// Delivers a machine's events to the sinks that subscribed to them.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Platform/Windows/Lock.h"
#include "Simulator/Com/Apartment.h"
#include "Simulator/Description/Description.h"
#include "Simulator/State/Worker.h"
#include "Simulator/Wql/WqlFilter.h"

#include <wbemcli.h>

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Zv::Simulator
{

struct Core;

class EventQueue;

// A sink, or an enumerator's queue, that wants the events of one class. It keeps its reference on the sink until the
// last delivery that was under way when it was cancelled has ended. It ends with its apartment, without a word.
struct Subscription
{
    Tessel::Server::Shared::WMI::ComPtr<IWbemObjectSink> sink;
    ClassPtr definition;
    WqlFilter filter;
    std::shared_ptr<EventQueue> queue; // in place of a sink
    ApartmentPtr apartment;            // null: of none

    [[nodiscard]] bool IsConnected() const noexcept { return apartment == nullptr || !apartment->IsGone(); }
};
using SubscriptionPtr = std::shared_ptr<const Subscription>;

// Delivery never happens under the hub's lock: a sink may block for as long as it likes, call back, or be cancelled
// meanwhile. Safe on several threads. The threads share the hub, so that one that a sink never lets go can be left.
class EventHub : public std::enable_shared_from_this<EventHub>
{
public:
    EventHub(std::weak_ptr<Core> core, const Events& events);

    // Starts the description's schedule when it is the first one. Throws std::bad_alloc or std::system_error.
    void Subscribe(Subscription subscription);
    // Ends the sink's subscriptions and tells it so, on this thread. Deliveries that have begun go on.
    // WBEM_E_NOT_FOUND when it has none.
    [[nodiscard]] HRESULT Cancel(IWbemObjectSink& sink);
    // Ends the queue's subscription.
    void Forget(const EventQueue& queue);

    // Delivers on this thread; returns how many subscriptions it went to. Events of one thread arrive in its order.
    std::size_t Fire(const ObjectPtr& event);
    // Leaves the delivery to the hub's threads, which work at the same time: the order is not kept.
    void Post(ObjectPtr event);

    // Those that still have their apartment; the others are dropped.
    [[nodiscard]] std::vector<SubscriptionPtr> Subscriptions();
    void DropDisconnected();
    [[nodiscard]] bool WaitForSubscriptions(std::size_t count, DWORD milliseconds);

    // Ends the threads and drops the subscriptions without a word. Returns how many threads would not end in time.
    std::size_t Stop(DWORD milliseconds) noexcept;

private:
    void Deliver();
    void RunSchedule();
    // Takes out those that are; what is returned is to be released without the lock.
    [[nodiscard]] std::vector<SubscriptionPtr> Drop(const std::function<bool(const Subscription&)>& isDropped);
    [[nodiscard]] bool IsCurrent(const SubscriptionPtr& subscription) const;

    const std::weak_ptr<Core> m_core; // the core owns the hub
    const unsigned m_deliveryThreads;
    const std::vector<ScheduledEvent> m_schedule;

    mutable Tessel::Server::Shared::Lock m_lock;
    Tessel::Server::Shared::Condition m_changed; // queue, subscriptions or m_stopping
    // All guarded by m_lock.
    std::vector<SubscriptionPtr> m_subscriptions;
    std::deque<ObjectPtr> m_queue;
    std::vector<Worker> m_workers;
    bool m_delivering = false; // the delivery threads have been started
    bool m_scheduled = false;  // the schedule has been started
    bool m_stopping = false;
};

} // namespace Zv::Simulator
