// The interfaces whose calls are traced, as tables of functions.
#pragma once

#include "Host/Trace/Function.h"

#include <windows.h>

#include <unknwn.h>

#include <cstddef>

namespace Zv::Host::Tracing
{

struct Interface
{
    const IID* id;
    const char* name;
    const void* const* functions; // what an object's first member points to
};

// In the place of one interface of one object. Laid out as COM wants it: the table of functions comes first.
struct Proxy
{
    const void* const* functions;
    const Interface* shown;
    IUnknown* real;      // the reference of the proxy's owners, which hold one of it in all
    ULONG references;    // guarded by the lock of all proxies
    unsigned int number; // within the trace
    bool isModules;      // the module implements it, and the platform calls it
};

// Null for an interface that is not traced.
[[nodiscard]] const Interface* FindInterface(REFIID iid) noexcept;
// As the platform sees a sink of the module's.
[[nodiscard]] const Interface& InboundSink() noexcept;

// "IWbemServices#2"
[[nodiscard]] std::string Label(const Proxy& proxy);

// The three operations of every proxy.
HRESULT STDMETHODCALLTYPE QueryProxy(Proxy* self, REFIID iid, void** object);
ULONG STDMETHODCALLTYPE AddRefProxy(Proxy* self);
ULONG STDMETHODCALLTYPE ReleaseProxy(Proxy* self);

} // namespace Zv::Host::Tracing
