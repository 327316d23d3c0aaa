// The COM apartments of this process, as far as objects live in them.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Platform/Windows/Lock.h"

#include <windows.h>

#include <objidl.h>

#include <memory>

namespace Zv::Simulator
{

// One apartment, from the moment that somebody asks for it. Whether it still exists is known from COM itself: COM holds
// a reference on a mark that was left in the apartment, and lets go of it when the last member leaves, however that
// happens: CoUninitialize, the end of a thread, CoDecrementMTAUsage. Safe on several threads.
class Apartment
{
public:
    // The calling thread's: its single-threaded one, or else the multithreaded one. Null when it is in none and there
    // is no multithreaded one. Throws std::bad_alloc.
    [[nodiscard]] static std::shared_ptr<const Apartment> Current();

    explicit Apartment(Tessel::Server::Shared::WMI::ComPtr<IStream> mark) noexcept : m_mark{std::move(mark)} {}

    // An apartment that is gone stays gone: who joins COM later is in another one.
    [[nodiscard]] bool IsGone() const noexcept;

private:
    const Tessel::Server::Shared::WMI::ComPtr<IStream> m_mark; // a class of the system: it may outlive this library
    mutable Tessel::Server::Shared::Lock m_lock;               // held while references are counted
};

using ApartmentPtr = std::shared_ptr<const Apartment>;

} // namespace Zv::Simulator
