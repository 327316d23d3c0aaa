// The way of an event from WMI's threads to the registration that waits for it.
#pragma once

#include "Platform/Windows/Lock.h"
#include "Shared/Json/JsonDocument.h"

namespace Zv::Tessel::Server::Shared::WMI
{

// One slot for one event record, {"eventId", "eventData"}. Producers fill it in turns; the registration empties it.
//
// Threads: any number of producers, one registration at a time. A producer that finds the slot full waits until the
// event in it was taken, for as long as that takes.
class Mailbox
{
public:
    // Takes the record's memory, so that an event needs none. Throws std::bad_alloc.
    Mailbox();
    Mailbox(const Mailbox&) = delete;
    Mailbox& operator=(const Mailbox&) = delete;
    ~Mailbox() = default;

    // Nobody takes events any more: lets producers go that wait for a full slot; what they bring is dropped.
    void Close() noexcept;

    // The session has ended: a registration that waits for an event goes on without one.
    void EndDelivery() noexcept;

    // A producer's turn: waits until the slot is free or nobody takes events any more, then holds the mailbox. Its end
    // wakes the registration when an event lies in the slot, else the next producer.
    class Turn
    {
    public:
        explicit Turn(Mailbox& at) noexcept;
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;
        ~Turn();

        [[nodiscard]] bool MayFill() const noexcept { return !m_mailbox.pending && !m_mailbox.closed; }
        void Fill(int eventId, int eventData) { m_mailbox.SetRecord(eventId, eventData); }
        // From the end of the turn on the registration takes the event. One that was filled in and not announced is
        // out of the next one's way.
        void Announce() noexcept { m_mailbox.pending = true; }

    private:
        Mailbox& m_mailbox;
        UniqueLock m_held;
    };

    // An event on its way to the registration: waits until one is in the slot or the session has ended. The event stays
    // in the slot, where nobody changes it, for as long as this object lives; its end frees the slot for the next one.
    // The mailbox is not held meanwhile: the client's callback may use the session.
    class Delivery
    {
    public:
        explicit Delivery(Mailbox& from) noexcept;
        Delivery(const Delivery&) = delete;
        Delivery& operator=(const Delivery&) = delete;
        ~Delivery();

        [[nodiscard]] bool HasEvent() const noexcept { return m_hasEvent; }
        [[nodiscard]] const Services::JsonDocument& Record() const noexcept { return m_mailbox.eventRecord; }

    private:
        Mailbox& m_mailbox;
        bool m_hasEvent;
    };

private:
    void SetRecord(int eventId, int eventData);

    Services::JsonDocument eventRecord{
        rapidjson::kObjectType}; // guarded by lock while nothing is pending, else constant
    Lock lock;
    Condition cond;       // an event lies in the slot: the registration waits for it
    bool pending = false; // guarded by lock, as are those that follow; an event lies in the slot and has been signalled
    bool closed = false;
    bool sessionEnded = false;
    // Producers wait here and the registration on `cond`, so that the one thread that each side wakes is always of the
    // other side.
    Condition slotFreed;
};

} // namespace Zv::Tessel::Server::Shared::WMI
