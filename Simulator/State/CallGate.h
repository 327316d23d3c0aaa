// The gate that every call on a machine passes: counts it, records it on request, and lets faults strike.
#pragma once

#include "Platform/Windows/Lock.h"
#include "Simulator/Cim/StatusNames.h"
#include "Simulator/Description/Description.h"
#include "Simulator/Description/Site.h"

#include <windows.h>

#include <array>
#include <atomic>
#include <functional>
#include <new>
#include <string>
#include <string_view>
#include <vector>

namespace Zv::Simulator
{

// One call, in the order in which calls came in.
struct CallRecord
{
    Site site{};
    std::wstring about;  // the namespace, class, method, property or query that the call named
    std::wstring detail; // further arguments as text, where they matter
    HRESULT status = S_OK;
    DWORD thread = 0;
};

// Safe on several threads.
class CallGate
{
public:
    explicit CallGate(const std::vector<Fault>& faults);

    // What a fault does to a call.
    struct Effect
    {
        HRESULT status = S_OK; // a failure: the call returns it and does nothing else
        DWORD delay = 0;
        bool hang = false;
        bool done = false;  // it does its work all the same
        bool empty = false; // it returns the status, a success, and does nothing else

        [[nodiscard]] bool Decides() const noexcept { return FAILED(status) || empty; }
    };
    [[nodiscard]] Effect Enter(Site site, std::wstring_view about);
    // Waits out a delay or a hang; false when that takes longer than the limit, which has passed then.
    [[nodiscard]] bool Wait(DWORD delay, bool hang, DWORD limit);

    // Runs the body of a call unless a fault prevents it. Exceptions become status codes: they must not cross COM.
    template <class Body>
    HRESULT Call(Site site, std::wstring_view about, Body body) noexcept
    {
        return Call(site, about, [] { return std::wstring{}; }, body);
    }
    template <class Detail, class Body>
    HRESULT Call(Site site, std::wstring_view about, Detail detail, Body body) noexcept
    {
        try
        {
            const Effect effect = Enter(site, about);
            const std::size_t record = m_recording ? Record(site, about, detail()) : NoRecord;
            static_cast<void>(Wait(effect.delay, effect.hang, INFINITE));
            const HRESULT done = effect.Decides() && !effect.done ? S_OK : Protect(body);
            const HRESULT status = effect.Decides() ? effect.status : done;
            Finish(record, status);
            return status;
        }
        catch (...) // memory for the gate's own books ran out
        {
            return Status(WBEM_E_OUT_OF_MEMORY);
        }
    }

    template <class Body>
    static HRESULT Protect(Body body) noexcept
    {
        try
        {
            return body();
        }
        catch (const std::bad_alloc&)
        {
            return Status(WBEM_E_OUT_OF_MEMORY);
        }
        catch (...)
        {
            return Status(WBEM_E_CRITICAL_ERROR);
        }
    }

    static constexpr std::size_t NoRecord = static_cast<std::size_t>(-1);
    [[nodiscard]] bool IsRecording() const noexcept { return m_recording; }
    [[nodiscard]] std::size_t Record(Site site, std::wstring_view about, std::wstring detail);
    void Finish(std::size_t record, HRESULT status) noexcept;

    void SetRecording(bool on);
    [[nodiscard]] std::vector<CallRecord> Records() const;
    [[nodiscard]] std::size_t Count(Site site) const noexcept;

    void Add(const Fault& fault);
    void ClearFaults();
    // Lets calls that hang now or later go on; they then return the fault's status.
    void ReleaseHangs() noexcept;

private:
    struct LiveFault
    {
        Fault fault;
        unsigned seen = 0; // fitting calls so far
    };

    std::array<std::atomic<std::size_t>, SiteCount> m_counts{};
    std::atomic<bool> m_recording = false;
    std::atomic<bool> m_faulty = false; // whether m_faults has any: keeps good calls from taking the lock

    mutable Tessel::Server::Shared::Lock m_lock;
    Tessel::Server::Shared::Condition m_released;
    std::vector<LiveFault> m_faults;   // guarded by m_lock
    std::vector<CallRecord> m_records; // guarded by m_lock
    bool m_hangsReleased = false;      // guarded by m_lock
};

} // namespace Zv::Simulator
