// The limit for the relaying of events: a mailbox of one slot with the same locks and the same kernel events as the
// module's, and neither COM nor JSON around it.
#pragma once

#include "Platform/Windows/Handle.h"
#include "Platform/Windows/Lock.h"

#include <functional>
#include <thread>

namespace Zv::Benchmarks
{

class Mailbox
{
public:
    // onEvent: called on the mailbox's own thread with each event.
    explicit Mailbox(std::function<void(int id, int data)> onEvent);
    Mailbox(const Mailbox&) = delete;
    Mailbox& operator=(const Mailbox&) = delete;
    ~Mailbox();

    // Waits until the slot is free. On any thread, several at once.
    void Put(int id, int data);

private:
    void Deliver();

    using Handle = Tessel::Server::Shared::Handle;
    using LockGuard = Tessel::Server::Shared::LockGuard;
    using UniqueLock = Tessel::Server::Shared::UniqueLock;

    const std::function<void(int id, int data)> m_onEvent;
    const Handle m_stop;
    const Handle m_arrived;
    Tessel::Server::Shared::Lock m_lock;
    Tessel::Server::Shared::Condition m_filled;
    Tessel::Server::Shared::Condition m_freed;
    bool m_pending = false; // guarded by m_lock
    int m_id = 0;           // this and the next: the producer's until the slot is filled, then the delivery's
    int m_data = 0;
    std::jthread m_thread;
};

} // namespace Zv::Benchmarks
