// Base of the simulator's COM objects: reference count and accounting.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Simulator/Com/Core.h"
#include "Simulator/Com/ObjectGate.h"

#include <unknwn.h>

#include <atomic>
#include <utility>

namespace Zv::Simulator
{

using Tessel::Server::Shared::WMI::ComPtr;

// Made by MakeObject, deleted by the last Release. Belongs to the apartment of the thread that made it, which is the
// one that called for it, as a proxy does. Safe on several threads.
template <class Interface, ObjectKind Kind>
class ComObject : public Interface
{
public:
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    ULONG STDMETHODCALLTYPE AddRef() override
    {
        m_core->references.Add(Kind);
        return m_count.fetch_add(1) + 1;
    }

    ULONG STDMETHODCALLTYPE Release() override
    {
        m_core->references.Remove(Kind);
        const ULONG left = m_count.fetch_sub(1) - 1;
        if (left == 0)
        {
            delete this;
        }
        return left;
    }

protected:
    explicit ComObject(CorePtr core) : m_core{std::move(core)}, m_gate{*m_core, Apartment::Current()} {}
    virtual ~ComObject() = default;

    [[nodiscard]] Core& GetCore() const noexcept { return *m_core; }
    [[nodiscard]] const CorePtr& SharedCore() const noexcept { return m_core; }
    [[nodiscard]] const ObjectGate& Gate() const noexcept { return m_gate; }

    // QueryInterface of an object with one interface besides IUnknown.
    HRESULT Query(Site site, REFIID wanted, void** result, REFIID own)
    {
        return Gate().Call(site, {}, [&]() -> HRESULT {
            if (result == nullptr)
            {
                return E_POINTER;
            }
            *result = nullptr;
            if (wanted != IID_IUnknown && wanted != own)
            {
                return E_NOINTERFACE;
            }
            *result = static_cast<Interface*>(this);
            AddRef();
            return S_OK;
        });
    }

private:
    const CorePtr m_core;
    const ObjectGate m_gate;
    std::atomic<ULONG> m_count = 0;
};

// The new object with its first reference. Throws std::bad_alloc.
template <class T, class... Arguments>
[[nodiscard]] ComPtr<T> MakeObject(Arguments&&... arguments)
{
    auto* const object = new T{std::forward<Arguments>(arguments)...};
    object->AddRef();
    return ComPtr<T>{object};
}

} // namespace Zv::Simulator
