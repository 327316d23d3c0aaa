#include "Simulator/Com/EventHub.h"

#include "Simulator/Com/ClassObject.h"
#include "Simulator/Com/Core.h"
#include "Simulator/Com/EventEnumerator.h"

#include <algorithm>

namespace Zv::Simulator
{

using Tessel::Server::Shared::LockGuard;
using Tessel::Server::Shared::UniqueLock;

namespace
{

// A scheduled event and when it is due next.
struct Due
{
    const ScheduledEvent* event;
    ULONGLONG at;
    unsigned done = 0;
};

// An exception out of a sink that was given without a stub would end the process on one of our threads.
void Indicate(IWbemObjectSink& sink, IWbemClassObject* object) noexcept
{
    try
    {
        sink.Indicate(1, &object);
    }
    catch (...)
    {
        OutputDebugStringW(L"Simulator: a sink let an exception escape from Indicate.\n");
    }
}

} // namespace

EventHub::EventHub(std::weak_ptr<Core> core, const Events& events)
    : m_core{std::move(core)},
      m_deliveryThreads{events.deliveryThreads},
      m_schedule{events.schedule}
{
}

void EventHub::Subscribe(Subscription subscription)
{
    const LockGuard guard{m_lock};
    if (!m_scheduled && !m_schedule.empty() && !m_stopping)
    {
        m_workers.emplace_back([hub = shared_from_this()] { hub->RunSchedule(); });
        m_scheduled = true;
    }
    m_subscriptions.push_back(std::make_shared<const Subscription>(std::move(subscription)));
    m_changed.NotifyAll();
}

HRESULT EventHub::Cancel(IWbemObjectSink& sink)
{
    const std::vector<SubscriptionPtr> ended =
        Drop([&](const Subscription& subscription) { return subscription.sink.Get() == &sink; });
    for (std::size_t i = 0; i < ended.size(); ++i)
    {
        sink.SetStatus(WBEM_STATUS_COMPLETE, Status(WBEM_E_CALL_CANCELLED), nullptr, nullptr);
    }
    return ended.empty() ? Status(WBEM_E_NOT_FOUND) : S_OK;
}

void EventHub::Forget(const EventQueue& queue)
{
    const LockGuard guard{m_lock};
    std::erase_if(m_subscriptions, [&](const SubscriptionPtr& s) { return s->queue.get() == &queue; });
}

std::size_t EventHub::Fire(const ObjectPtr& event)
{
    const std::shared_ptr<Core> core = m_core.lock();
    std::size_t called = 0;
    for (const SubscriptionPtr& subscription : Subscriptions())
    {
        if (core != nullptr && subscription->definition == event->definition && subscription->filter.Accepts(*event) &&
            IsCurrent(subscription))
        {
            if (subscription->queue != nullptr)
            {
                subscription->queue->Put(event);
            }
            else
            {
                const ComPtr<IWbemClassObject> object = Present(core, event);
                Indicate(*subscription->sink.Get(), object.Get());
            }
            ++called;
        }
    }
    return called;
}

void EventHub::Post(ObjectPtr event)
{
    const LockGuard guard{m_lock};
    for (unsigned i = 0; !m_delivering && !m_stopping && i < m_deliveryThreads; ++i)
    {
        m_workers.emplace_back([hub = shared_from_this()] { hub->Deliver(); });
    }
    m_delivering = true;
    m_queue.push_back(std::move(event));
    m_changed.NotifyAll();
}

std::vector<SubscriptionPtr> EventHub::Subscriptions()
{
    DropDisconnected();
    const LockGuard guard{m_lock};
    return m_subscriptions;
}

void EventHub::DropDisconnected()
{
    static_cast<void>(Drop([](const Subscription& subscription) { return !subscription.IsConnected(); }));
}

std::vector<SubscriptionPtr> EventHub::Drop(const std::function<bool(const Subscription&)>& isDropped)
{
    const LockGuard guard{m_lock};
    const auto first = std::stable_partition(m_subscriptions.begin(), m_subscriptions.end(),
                                             [&](const SubscriptionPtr& s) { return !isDropped(*s); });
    std::vector<SubscriptionPtr> dropped{first, m_subscriptions.end()};
    m_subscriptions.erase(first, m_subscriptions.end());
    return dropped;
}

bool EventHub::WaitForSubscriptions(std::size_t count, DWORD milliseconds)
{
    UniqueLock held{m_lock};
    const auto isConnected = [](const SubscriptionPtr& subscription) { return subscription->IsConnected(); };
    return m_changed.WaitFor(held, milliseconds, [&] {
        return static_cast<std::size_t>(std::ranges::count_if(m_subscriptions, isConnected)) >= count;
    });
}

std::size_t EventHub::Stop(DWORD milliseconds) noexcept
{
    std::vector<Worker> workers;
    std::vector<SubscriptionPtr> ended;
    {
        const LockGuard guard{m_lock};
        m_stopping = true;
        workers.swap(m_workers);
        ended.swap(m_subscriptions);
        m_queue.clear();
        m_changed.NotifyAll();
    }
    for (const SubscriptionPtr& subscription : ended)
    {
        if (subscription->queue != nullptr)
        {
            subscription->queue->Close();
        }
    }
    return CountBusy(workers, milliseconds);
}

void EventHub::Deliver()
{
    for (;;)
    {
        ObjectPtr event;
        {
            UniqueLock held{m_lock};
            m_changed.Wait(held, [&] { return m_stopping || !m_queue.empty(); });
            if (m_stopping)
            {
                return;
            }
            event = std::move(m_queue.front());
            m_queue.pop_front();
        }
        Fire(event);
    }
}

void EventHub::RunSchedule()
{
    const ULONGLONG start = GetTickCount64();
    std::vector<Due> dues;
    for (const ScheduledEvent& event : m_schedule)
    {
        dues.push_back({&event, start + event.at});
    }
    while (!dues.empty())
    {
        const auto next = std::ranges::min_element(dues, [](const Due& a, const Due& b) { return a.at < b.at; });
        {
            const ULONGLONG now = GetTickCount64();
            const DWORD wait = next->at > now ? static_cast<DWORD>(next->at - now) : 0;
            UniqueLock held{m_lock};
            if (m_changed.WaitFor(held, wait, [&] { return m_stopping; }))
            {
                return;
            }
        }
        for (unsigned i = 0; i < next->event->burst; ++i)
        {
            Post(next->event->event);
        }
        ++next->done;
        next->at += next->event->every;
        if (next->event->times != 0 && next->done == next->event->times)
        {
            dues.erase(next);
        }
    }
}

bool EventHub::IsCurrent(const SubscriptionPtr& subscription) const
{
    const LockGuard guard{m_lock};
    return subscription->IsConnected() && std::ranges::find(m_subscriptions, subscription) != m_subscriptions.end();
}

} // namespace Zv::Simulator
