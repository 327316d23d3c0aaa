#include "Simulator/Com/Enumerator.h"

#include "Simulator/Cim/StatusNames.h"
#include "Simulator/Com/ClassObject.h"

#include <algorithm>

namespace Zv::Simulator
{

namespace
{

constexpr LONG NoLimit = -1; // WBEM_INFINITE, whose type differs between compilers

} // namespace

using Tessel::Server::Shared::LockGuard;

Enumerator::Enumerator(CorePtr core, ResultSetPtr results, bool forwardOnly, std::size_t position)
    : ComObject{std::move(core)},
      m_results{std::move(results)},
      m_forwardOnly{forwardOnly},
      m_position{position}
{
}

HRESULT Enumerator::QueryInterface(REFIID iid, void** result)
{
    return QueryProxy<IEnumWbemClassObject>(Gate(), SharedCore(), Site::EnumeratorQueryInterface, *this, m_blanket, iid,
                                            result);
}

HRESULT Enumerator::Reset()
{
    return Gate().Call(Site::EnumeratorReset, m_results->className, [&]() -> HRESULT {
        if (m_forwardOnly)
        {
            return Status(WBEM_E_INVALID_OPERATION);
        }
        const LockGuard guard{m_lock};
        m_position = 0;
        return CheckState();
    });
}

HRESULT Enumerator::Next(LONG timeout, ULONG count, IWbemClassObject** objects, ULONG* returned)
{
    if (objects == nullptr || returned == nullptr || (timeout < 0 && timeout != NoLimit))
    {
        return Status(WBEM_E_INVALID_PARAMETER);
    }
    *returned = 0; // the objects stay as they are unless there are some
    if (count == 0)
    {
        return S_OK;
    }
    // Not through the gate's own Call: a delay longer than the time-out is a time-out, not a long wait.
    return CallGate::Protect([&]() -> HRESULT {
        CallGate& gate = GetCore().gate;
        const CallGate::Effect effect = gate.Enter(Site::EnumeratorNext, m_results->className);
        const std::size_t record =
            gate.IsRecording() ? gate.Record(Site::EnumeratorNext, m_results->className, std::to_wstring(timeout))
                               : CallGate::NoRecord;
        const DWORD limit = timeout == NoLimit ? INFINITE : static_cast<DWORD>(timeout);
        HRESULT status = Status(WBEM_S_TIMEDOUT);
        if (gate.Wait(effect.delay, effect.hang, limit))
        {
            const auto fetch = [&] { return Fetch(count, objects, *returned); };
            status = effect.Decides() ? effect.status : Gate().IfConnected(fetch);
        }
        gate.Finish(record, status);
        return status;
    });
}

HRESULT Enumerator::CheckState() const
{
    const HRESULT access = m_blanket->CheckAccess();
    return FAILED(access) ? access : m_results->status;
}

HRESULT Enumerator::Fetch(ULONG count, IWbemClassObject** objects, ULONG& returned)
{
    if (const HRESULT hr = CheckState(); FAILED(hr))
    {
        return hr;
    }
    const LockGuard guard{m_lock};
    const std::size_t left = m_results->objects.size() - m_position;
    const std::size_t taken = std::min<std::size_t>(count, left);
    std::vector<ComPtr<IWbemClassObject>> made(taken);
    for (std::size_t i = 0; i < taken; ++i)
    {
        made[i] = Present(SharedCore(), m_results->objects[m_position + i]);
    }
    for (std::size_t i = 0; i < taken; ++i)
    {
        objects[i] = made[i].Detach();
    }
    m_position += taken;
    returned = static_cast<ULONG>(taken);
    return taken == count ? S_OK : Status(WBEM_S_FALSE);
}

// The objects are chosen now, so that calls one after another get those one after another.
HRESULT Enumerator::NextAsync(ULONG count, IWbemObjectSink* sink)
{
    return Gate().Call(Site::EnumeratorNextAsync, m_results->className, [&]() -> HRESULT {
        if (sink == nullptr || count == 0)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        if (const HRESULT hr = CheckState(); FAILED(hr))
        {
            return hr;
        }
        std::size_t first = 0;
        const std::size_t taken = Advance(count, first);
        GetCore().calls.Start(std::make_shared<PendingCall>(sink), [core = SharedCore(), results = m_results, first,
                                                                    taken, count](PendingCall& call, ObjectPtr&) {
            call.Deliver(core, std::span{results->objects}.subspan(first, taken));
            return taken == count ? S_OK : Status(WBEM_S_FALSE);
        });
        return S_OK;
    });
}

std::size_t Enumerator::Advance(std::size_t count, std::size_t& first)
{
    const LockGuard guard{m_lock};
    first = m_position;
    const std::size_t taken = std::min(count, m_results->objects.size() - m_position);
    m_position += taken;
    return taken;
}

HRESULT Enumerator::Clone(IEnumWbemClassObject** copy)
{
    return Gate().Call(Site::EnumeratorClone, m_results->className, [&]() -> HRESULT {
        if (copy == nullptr)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        *copy = nullptr;
        if (m_forwardOnly)
        {
            return Status(WBEM_E_INVALID_OPERATION);
        }
        const LockGuard guard{m_lock};
        *copy = MakeObject<Enumerator>(SharedCore(), m_results, m_forwardOnly, m_position).Detach();
        return S_OK;
    });
}

HRESULT Enumerator::Skip(LONG, ULONG count)
{
    return Gate().Call(Site::EnumeratorSkip, m_results->className, [&]() -> HRESULT {
        if (const HRESULT hr = CheckState(); FAILED(hr))
        {
            return hr;
        }
        std::size_t first = 0;
        return Advance(count, first) == count ? S_OK : Status(WBEM_S_FALSE);
    });
}

} // namespace Zv::Simulator
