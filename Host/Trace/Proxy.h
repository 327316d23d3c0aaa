// COM objects in the place of others, which write down each call before they pass it on.
#pragma once

#include <windows.h>

#include <wbemcli.h>

#include <string>
#include <type_traits>

namespace Zv::Host::Tracing
{

template <class T>
inline constexpr bool IsTraced =
    std::is_same_v<T, IUnknown> || std::is_same_v<T, IWbemServices> || std::is_same_v<T, IWbemClassObject> ||
    std::is_same_v<T, IEnumWbemClassObject> || std::is_same_v<T, IWbemObjectSink>;

// Puts a proxy in the place of the object and of the one reference on it that the caller was given. The same object has
// the same proxy as long as that is there; an interface that is not traced stays as it is. Without memory for a proxy
// the object stays as it is, too.
void Wrap(REFIID iid, void** object) noexcept;

// What a proxy stands for; anything else stands for itself. The reference stays the caller's.
[[nodiscard]] IUnknown* Unwrapped(IUnknown* object) noexcept;

// The same for what the module itself implements: the caller's new reference on a proxy through which the platform
// calls the module. A sink that the platform made, and null, need none: it is returned as it is, with a reference.
[[nodiscard]] IWbemObjectSink* WrappedSink(IWbemObjectSink* sink) noexcept;

// "IWbemServices#2"; "null"; the other for one that is not traced.
inline constexpr char UntracedLabel[] = "object";
[[nodiscard]] std::string LabelOf(IUnknown* object);

} // namespace Zv::Host::Tracing
