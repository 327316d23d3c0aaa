#include "Simulator/Com/Apartment.h"

#include <map>
#include <new>

namespace Zv::Simulator
{

using Tessel::Server::Shared::Lock;
using Tessel::Server::Shared::LockGuard;
using Tessel::Server::Shared::WMI::ComPtr;

namespace
{

constexpr DWORD Multithreaded = 0; // no thread has this id

// By the thread of a single-threaded apartment.
struct Known
{
    Lock lock;
    std::map<DWORD, ApartmentPtr> apartments; // guarded by lock
};

// Null when the calling thread is in no apartment.
ApartmentPtr MarkCurrent()
{
    ComPtr<IStream> mark;
    if (FAILED(CreateStreamOnHGlobal(nullptr, TRUE, mark.Receive())))
    {
        throw std::bad_alloc{};
    }
    const HRESULT hr = CoLockObjectExternal(mark.Get(), TRUE, TRUE);
    if (hr == E_OUTOFMEMORY)
    {
        throw std::bad_alloc{};
    }
    return SUCCEEDED(hr) ? std::make_shared<const Apartment>(std::move(mark)) : nullptr;
}

} // namespace

ApartmentPtr Apartment::Current()
{
    APTTYPE type{};
    APTTYPEQUALIFIER qualifier{};
    if (FAILED(CoGetApartmentType(&type, &qualifier)))
    {
        return nullptr;
    }
    static Known& known = *new Known; // for ever: objects may come and go while the process ends
    const LockGuard held{known.lock};
    ApartmentPtr& apartment = known.apartments[type == APTTYPE_MTA ? Multithreaded : GetCurrentThreadId()];
    if (apartment == nullptr || apartment->IsGone())
    {
        apartment = MarkCurrent();
        std::erase_if(known.apartments, [&apartment](const auto& other) {
            return &other.second != &apartment && (other.second == nullptr || other.second->IsGone());
        });
    }
    return apartment;
}

bool Apartment::IsGone() const noexcept
{
    const LockGuard held{m_lock};
    m_mark->AddRef();
    return m_mark->Release() == 1;
}

} // namespace Zv::Simulator
