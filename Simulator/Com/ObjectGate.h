// The way of one object's calls through the machine's gate.
#pragma once

#include "Simulator/Com/Apartment.h"
#include "Simulator/Com/Core.h"

#include <string_view>
#include <utility>

namespace Zv::Simulator
{

// An object answers in the apartment in which it was handed out, and no longer than that lasts.
class ObjectGate
{
public:
    // Where there is no apartment, as on a thread of the machine's own, the object belongs to none.
    ObjectGate(Core& core, ApartmentPtr apartment) noexcept : m_core{core}, m_apartment{std::move(apartment)} {}

    [[nodiscard]] bool IsConnected() const noexcept { return m_apartment == nullptr || !m_apartment->IsGone(); }

    // As CallGate's. Calls are counted, recorded and struck by faults all the same.
    template <class Body>
    HRESULT Call(Site site, std::wstring_view about, Body body) const noexcept
    {
        return m_core.gate.Call(site, about, [&]() -> HRESULT { return IfConnected(body); });
    }
    template <class Detail, class Body>
    HRESULT Call(Site site, std::wstring_view about, Detail detail, Body body) const noexcept
    {
        return m_core.gate.Call(site, about, detail, [&]() -> HRESULT { return IfConnected(body); });
    }
    template <class Body>
    HRESULT IfConnected(Body body) const
    {
        if (IsConnected())
        {
            return body();
        }
        m_core.events->DropDisconnected();
        return CO_E_OBJNOTCONNECTED;
    }

    [[nodiscard]] const ApartmentPtr& GetApartment() const noexcept { return m_apartment; }

private:
    Core& m_core;
    const ApartmentPtr m_apartment;
};

} // namespace Zv::Simulator
