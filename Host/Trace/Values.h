// Values of the platform's types as a trace shows them.
#pragma once

#include "Host/Trace/Function.h"
#include "Host/Trace/Proxy.h"
#include "Platform/Windows/WindowsDeclarations.h"

#include <windows.h>

#include <wbemcli.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace Zv::Host::Tracing
{

// In quotes, without secrets, and cut where it is long. Null is said to be so.
[[nodiscard]] std::string ShowText(const wchar_t* text);
[[nodiscard]] std::string ShowText(std::wstring_view text);
// The identifiers that the module uses by name.
[[nodiscard]] std::string ShowGuid(const GUID& guid);
// Its value and type; bytes only on request.
[[nodiscard]] std::string ShowVariant(const VARIANT* value);
[[nodiscard]] std::string ShowHandle(const void* handle);
// An object that was handed out, or a handle: of either a function may give a void*.
[[nodiscard]] std::string ShowReceived(void* value);

template <class T>
inline constexpr bool IsInterface = std::is_convertible_v<T*, IUnknown*>; // also where only its name is known

// An argument on its way in.
template <class T>
[[nodiscard]] std::string ShowIn(const Argument& argument, const T& value)
{
    using Target = std::remove_cv_t<std::remove_pointer_t<T>>;
    if constexpr (std::is_same_v<T, GUID>)
    {
        return ShowGuid(value);
    }
    else if constexpr (std::is_pointer_v<T> && std::is_same_v<Target, wchar_t>)
    {
        return ShowText(value);
    }
    else if constexpr (std::is_pointer_v<T> && std::is_same_v<Target, char>)
    {
        // A function is asked for by its name or by a small number.
        return reinterpret_cast<std::uintptr_t>(value) <= 0xFFFF ? ShowHandle(value) : '"' + std::string{value} + '"';
    }
    else if constexpr (std::is_pointer_v<T> && std::is_same_v<Target, VARIANT>)
    {
        return ShowVariant(value);
    }
    else if constexpr (std::is_pointer_v<T> && std::is_same_v<Target, GUID>)
    {
        return value == nullptr ? "null" : ShowGuid(*value);
    }
    else if constexpr (std::is_pointer_v<T> && std::is_class_v<Target>)
    {
        if constexpr (IsInterface<Target>)
        {
            return LabelOf(value);
        }
        else if constexpr (std::is_same_v<T, HMODULE>)
        {
            return ShowHandle(value);
        }
        else
        {
            return value == nullptr ? "null" : "given";
        }
    }
    else if constexpr (std::is_pointer_v<T> && std::is_void_v<Target>)
    {
        return ShowHandle(value);
    }
    else if constexpr (std::is_pointer_v<T>)
    {
        return value == nullptr ? "null" : "given";
    }
    else
    {
        const auto number = static_cast<std::uint64_t>(value);
        return argument.show != nullptr ? argument.show(number) : std::to_string(value);
    }
}

// What a call has put where the argument points; empty for what is not shown.
template <class T>
[[nodiscard]] std::string ShowOut(const T& value)
{
    using Target = std::remove_pointer_t<T>;
    if constexpr (!std::is_pointer_v<T> || std::is_void_v<Target>)
    {
        return {};
    }
    else
    {
        if (value == nullptr)
        {
            return {};
        }
        if constexpr (std::is_same_v<Target, wchar_t>)
        {
            return ShowText(value);
        }
        else if constexpr (std::is_same_v<Target, VARIANT>)
        {
            return ShowVariant(value);
        }
        else if constexpr (std::is_same_v<Target, GUID>)
        {
            return ShowGuid(*value);
        }
        else if constexpr (std::is_same_v<Target, PROCESS_INFORMATION>)
        {
            return "process " + std::to_string(value->dwProcessId);
        }
        else if constexpr (std::is_same_v<Target, RTL_OSVERSIONINFOW>)
        {
            return std::to_string(value->dwMajorVersion) + '.' + std::to_string(value->dwMinorVersion) + '.' +
                   std::to_string(value->dwBuildNumber);
        }
        else if constexpr (std::is_same_v<Target, unsigned short*>) // RPC's texts
        {
            return ShowText(reinterpret_cast<const wchar_t*>(*value));
        }
        else if constexpr (std::is_same_v<Target, wchar_t*>)
        {
            return ShowText(*value);
        }
        else if constexpr (std::is_pointer_v<Target> && std::is_class_v<std::remove_pointer_t<Target>>)
        {
            if constexpr (IsInterface<std::remove_pointer_t<Target>>)
            {
                return LabelOf(*value);
            }
            else
            {
                return ShowHandle(*value);
            }
        }
        else if constexpr (std::is_same_v<Target, void*>)
        {
            return ShowReceived(*value);
        }
        else if constexpr (std::is_integral_v<Target> || std::is_enum_v<Target>)
        {
            return std::to_string(static_cast<std::int64_t>(*value));
        }
        else
        {
            return {};
        }
    }
}

} // namespace Zv::Host::Tracing
