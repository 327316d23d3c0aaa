// A client's event sink that keeps what it was told.
#pragma once

#include "Platform/Windows/Lock.h"

#include <windows.h>

#include <wbemcli.h>

#include <atomic>
#include <cstddef>
#include <string>
#include <vector>

namespace Zv::Testing
{

// Lives on the test's stack; its end waits until nobody holds it any longer, since a delivery may just be coming back.
// Safe on several threads.
class Sink final : public IWbemObjectSink
{
public:
    Sink() = default;
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;
    virtual ~Sink();

    // From now on Indicate does not return; or does again.
    void Block();
    void Unblock();
    // From now on Indicate raises a C++ exception.
    void Throw() { m_throws = true; }

    [[nodiscard]] int References() const { return m_references; }
    [[nodiscard]] std::vector<std::wstring> Events() const;   // "VT_I4 20, VT_I4 0": id and data
    [[nodiscard]] std::vector<std::wstring> Statuses() const; // "0, WBEM_E_CALL_CANCELLED"
    // Whether so many calls of Indicate have begun, or so many events were taken, within the time.
    [[nodiscard]] bool WaitForCalls(std::size_t count, DWORD milliseconds);
    [[nodiscard]] bool WaitForEvents(std::size_t count, DWORD milliseconds);
    [[nodiscard]] bool WaitForStatuses(std::size_t count, DWORD milliseconds);

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** result) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++m_references); }
    ULONG STDMETHODCALLTYPE Release() override;
    HRESULT STDMETHODCALLTYPE Indicate(LONG count, IWbemClassObject** objects) override;
    HRESULT STDMETHODCALLTYPE SetStatus(LONG flags, HRESULT status, BSTR text, IWbemClassObject* object) override;

private:
    std::atomic<int> m_references = 0;
    std::atomic<bool> m_throws = false;
    mutable Tessel::Server::Shared::Lock m_lock;
    Tessel::Server::Shared::Condition m_changed;
    // All guarded by m_lock.
    bool m_blocked = false;
    std::size_t m_calls = 0;
    std::vector<std::wstring> m_events;
    std::vector<std::wstring> m_statuses;
};

} // namespace Zv::Testing
