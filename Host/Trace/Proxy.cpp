#include "Host/Trace/Proxy.h"

#include "Host/Trace/Interfaces.h"
#include "Host/Trace/Traced.h"

#include "Platform/Windows/Lock.h"

#include <map>
#include <memory>
#include <new>
#include <set>
#include <utility>

namespace Zv::Host::Tracing
{

using Tessel::Server::Shared::Lock;
using Tessel::Server::Shared::LockGuard;
using Tessel::Server::Shared::UniqueLock;

namespace
{

// All proxies there are; they live as long as the module and the platform hold them.
struct Registry
{
    Lock lock;
    // All guarded by lock.
    std::map<std::pair<IUnknown*, const Interface*>, Proxy*> byReal;
    std::set<const void*> live;
    unsigned int made = 0;
};

Registry& All()
{
    static Registry registry;
    return registry;
}

bool IsProxy(Registry& registry, const void* object)
{
    return registry.live.contains(object);
}

// The caller's reference on a proxy for the object, taking over one reference on the object. Throws std::bad_alloc.
Proxy* MakeProxy(IUnknown* real, const Interface& shown, bool isModules)
{
    Registry& registry = All();
    UniqueLock held{registry.lock};
    if (const auto found = registry.byReal.find({real, &shown}); found != registry.byReal.end())
    {
        Proxy* const known = found->second;
        ++known->references;
        held.unlock(); // the object may call anything
        real->Release();
        return known;
    }
    auto proxy = std::make_unique<Proxy>(Proxy{shown.functions, &shown, real, 1, registry.made + 1, isModules});
    registry.live.insert(proxy.get());
    try
    {
        registry.byReal.emplace(std::pair{real, &shown}, proxy.get());
    }
    catch (...)
    {
        registry.live.erase(proxy.get());
        throw;
    }
    ++registry.made;
    return proxy.release(); // ReleaseProxy ends it
}

} // namespace

std::string Label(const Proxy& proxy)
{
    return std::string{proxy.shown->name} + '#' + std::to_string(proxy.number);
}

void Wrap(REFIID iid, void** object) noexcept
{
    const Interface* const shown = FindInterface(iid);
    if (object == nullptr || *object == nullptr || shown == nullptr)
    {
        return;
    }
    try
    {
        *object = MakeProxy(static_cast<IUnknown*>(*object), *shown, false);
    }
    catch (const std::bad_alloc&)
    {
        return; // its calls go unseen
    }
}

IUnknown* Unwrapped(IUnknown* object) noexcept
{
    Registry& registry = All();
    const LockGuard held{registry.lock};
    if (!IsProxy(registry, object))
    {
        return object;
    }
    const Proxy& proxy = *reinterpret_cast<const Proxy*>(object);
    return proxy.isModules ? object : proxy.real;
}

IWbemObjectSink* WrappedSink(IWbemObjectSink* sink) noexcept
{
    if (sink == nullptr)
    {
        return nullptr;
    }
    IUnknown* const real = Unwrapped(sink);
    real->AddRef();
    if (real != sink)
    {
        return static_cast<IWbemObjectSink*>(real); // the platform's own
    }
    try
    {
        return reinterpret_cast<IWbemObjectSink*>(MakeProxy(sink, InboundSink(), true));
    }
    catch (const std::bad_alloc&)
    {
        return sink;
    }
}

std::string LabelOf(IUnknown* object)
{
    if (object == nullptr)
    {
        return "null";
    }
    Registry& registry = All();
    const LockGuard held{registry.lock};
    return IsProxy(registry, object) ? Label(*reinterpret_cast<const Proxy*>(object)) : UntracedLabel;
}

HRESULT STDMETHODCALLTYPE QueryProxy(Proxy* self, REFIID iid, void** object)
{
    static constexpr Argument arguments[] = {In("interface"), Out("object")};
    static constexpr Function function{"QueryInterface", ResultKind::Status, arguments};
    if (self->isModules)
    {
        // The platform looks for interfaces of the module's sink; those that are no sink it gets as they are.
        const HRESULT status = self->real->QueryInterface(iid, object);
        if (SUCCEEDED(status) && (iid == IID_IUnknown || iid == IID_IWbemObjectSink))
        {
            static_cast<IUnknown*>(*object)->Release();
            AddRefProxy(self);
            *object = self;
        }
        return status;
    }
    const auto original = [self](const GUID& wanted, void** result) {
        return self->real->QueryInterface(wanted, result);
    };
    return Traced<HRESULT>(function, (Label(*self) + "->").c_str(), original, iid, object);
}

ULONG STDMETHODCALLTYPE AddRefProxy(Proxy* self)
{
    const LockGuard held{All().lock};
    return ++self->references;
}

ULONG STDMETHODCALLTYPE ReleaseProxy(Proxy* self)
{
    {
        Registry& registry = All();
        const LockGuard held{registry.lock};
        if (const ULONG left = --self->references; left != 0)
        {
            return left;
        }
        registry.byReal.erase({self->real, self->shown});
        registry.live.erase(self);
    }
    const std::unique_ptr<Proxy> owner{self};
    owner->real->Release();
    return 0;
}

} // namespace Zv::Host::Tracing
