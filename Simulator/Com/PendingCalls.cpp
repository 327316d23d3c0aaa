#include "Simulator/Com/PendingCalls.h"

#include "Simulator/Com/ClassObject.h"
#include "Simulator/State/CallGate.h"

#include <algorithm>
#include <iterator>

namespace Zv::Simulator
{

using Tessel::Server::Shared::LockGuard;
using Tessel::Server::Shared::UniqueLock;
using Tessel::Server::Shared::WMI::ComPtr;

namespace
{

ComPtr<IWbemObjectSink> Share(IWbemObjectSink* sink) noexcept
{
    if (sink != nullptr)
    {
        sink->AddRef();
    }
    return ComPtr<IWbemObjectSink>{sink};
}

} // namespace

PendingCall::PendingCall(IWbemObjectSink* sink) : m_sink{Share(sink)} {}

void PendingCall::Deliver(const std::shared_ptr<Core>& core, std::span<const ObjectPtr> objects)
{
    constexpr std::size_t most = 10; // a sink gets several objects at a time
    for (; !objects.empty() && !HasEnded(); objects = objects.subspan(std::min(most, objects.size())))
    {
        std::vector<ComPtr<IWbemClassObject>> owners;
        std::vector<IWbemClassObject*> batch;
        for (const ObjectPtr& object : objects.first(std::min(most, objects.size())))
        {
            owners.push_back(Present(core, object));
            batch.push_back(owners.back().Get());
        }
        m_sink->Indicate(static_cast<LONG>(batch.size()), batch.data());
    }
}

bool PendingCall::End(HRESULT status, ObjectPtr result)
{
    {
        const LockGuard guard{m_lock};
        if (m_ended)
        {
            return false;
        }
        m_ended = true;
        m_status = status;
        m_result = std::move(result);
        m_changed.NotifyAll();
    }
    if (m_sink)
    {
        m_sink->SetStatus(WBEM_STATUS_COMPLETE, status, nullptr, nullptr);
    }
    return true;
}

bool PendingCall::HasEnded() const
{
    const LockGuard guard{m_lock};
    return m_ended;
}

bool PendingCall::WaitForEnd(DWORD milliseconds, HRESULT& status, ObjectPtr& result) const
{
    UniqueLock held{m_lock};
    const auto ended = [&] { return m_ended; };
    if (milliseconds == INFINITE)
    {
        m_changed.Wait(held, ended);
    }
    else if (!m_changed.WaitFor(held, milliseconds, ended))
    {
        return false;
    }
    status = m_status;
    result = m_result;
    return true;
}

void PendingCalls::Start(const PendingCallPtr& call, Body body)
{
    const LockGuard guard{m_lock};
    std::erase_if(m_calls, [](const std::weak_ptr<PendingCall>& other) { return other.expired(); });
    std::erase_if(m_workers, [](const Worker& worker) { return worker.WaitFor(0); });
    m_calls.reserve(m_calls.size() + 1);
    m_workers.emplace_back([call, body = std::move(body)] {
        // An exception, the sink's included, must not end the process.
        const HRESULT escaped = CallGate::Protect([&] {
            ObjectPtr result;
            const HRESULT status = CallGate::Protect([&] { return body(*call, result); });
            call->End(status, std::move(result));
            return S_OK;
        });
        if (FAILED(escaped))
        {
            OutputDebugStringW(L"Simulator: a sink let an exception escape from SetStatus.\n");
        }
    });
    m_calls.push_back(call);
}

bool PendingCalls::Cancel(IWbemObjectSink& sink)
{
    std::vector<PendingCallPtr> calls;
    {
        const LockGuard guard{m_lock};
        std::ranges::transform(m_calls, std::back_inserter(calls),
                               [](const std::weak_ptr<PendingCall>& call) { return call.lock(); });
    }
    return std::ranges::count_if(calls, [&](const PendingCallPtr& call) {
               return call != nullptr && call->IsFor(sink) && call->End(Status(WBEM_E_CALL_CANCELLED));
           }) != 0;
}

std::size_t PendingCalls::Stop(DWORD milliseconds) noexcept
{
    std::vector<Worker> workers;
    {
        const LockGuard guard{m_lock};
        workers.swap(m_workers);
        m_calls.clear();
    }
    return CountBusy(workers, milliseconds);
}

} // namespace Zv::Simulator
