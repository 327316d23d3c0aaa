// A call on its way through a trace.
#pragma once

#include "Host/Recording/Redaction.h"
#include "Host/Trace/Function.h"
#include "Host/Trace/Proxy.h"
#include "Host/Trace/TraceLog.h"
#include "Host/Trace/Values.h"

#include <windows.h>

#include <cerrno>
#include <cstddef>
#include <exception>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

namespace Zv::Host::Tracing
{

// What a call leaves for its caller beside its result; writing a trace must not change it.
class ErrorState
{
public:
    ErrorState() noexcept : m_lastError{GetLastError()}, m_errno{errno} {}

    void Restore() const noexcept
    {
        errno = m_errno;
        SetLastError(m_lastError);
    }
    [[nodiscard]] DWORD LastError() const noexcept { return m_lastError; }

private:
    DWORD m_lastError;
    int m_errno;
};

class Stopwatch
{
public:
    void Start() noexcept { QueryPerformanceCounter(&m_start); }
    [[nodiscard]] double Milliseconds() const noexcept
    {
        LARGE_INTEGER now{};
        LARGE_INTEGER frequency{};
        QueryPerformanceCounter(&now);
        QueryPerformanceFrequency(&frequency);
        return 1000.0 * static_cast<double>(now.QuadPart - m_start.QuadPart) / static_cast<double>(frequency.QuadPart);
    }

private:
    LARGE_INTEGER m_start{};
};

// A call from its beginning to its end, which is that of this object where End is not called: an exception has left the
// call then, or nothing is known of its result. Writes nothing where no trace is written.
class TracedCall
{
public:
    // describe(TraceLog&, Fields&) adds the arguments and returns the call's name.
    template <class Describe>
    explicit TracedCall(Describe describe, const char* resultAtEnd = "left by an exception") noexcept
        : m_resultAtEnd{resultAtEnd}
    {
        Guarded([&](TraceLog& log) {
            Fields arguments;
            std::string name = describe(log, arguments);
            log.Begin(std::move(name), std::move(arguments));
            m_begun = true;
            m_watch.Start();
        });
    }
    TracedCall(const TracedCall&) = delete;
    TracedCall& operator=(const TracedCall&) = delete;
    ~TracedCall()
    {
        if (m_begun)
        {
            const ErrorState state;
            End([this](TraceLog&, Fields&) { return std::string{m_resultAtEnd}; });
            state.Restore();
        }
    }

    // describe(TraceLog&, Fields&) adds what the call gave back and returns its result.
    template <class Describe>
    void End(Describe describe) noexcept
    {
        if (std::exchange(m_begun, false))
        {
            const double milliseconds = m_watch.Milliseconds();
            Guarded([&](TraceLog& log) {
                Fields results;
                std::string result = describe(log, results);
                log.End(std::move(result), std::move(results), milliseconds);
            });
        }
    }

private:
    // Nothing is thrown into the module.
    template <class Body>
    static void Guarded(Body body) noexcept
    {
        TraceLog* const log = TraceLog::Current();
        if (log == nullptr)
        {
            return;
        }
        try
        {
            body(*log);
        }
        catch (const std::exception&)
        {
            log->Lost();
        }
    }

    const char* m_resultAtEnd;
    bool m_begun = false;
    Stopwatch m_watch;
};

// An argument as the function itself is given it: objects in the place of their proxies.
template <class T>
class Passed
{
public:
    Passed(const Argument&, T value) noexcept : m_value{value} {}
    Passed(const Passed&) = delete;
    Passed& operator=(const Passed&) = delete;
    ~Passed() = default;
    [[nodiscard]] T Get() noexcept { return m_value; }

private:
    T m_value;
};

template <class T>
    requires IsInterface<T>
class Passed<T*>
{
public:
    Passed(const Argument&, T* value) noexcept : m_value{static_cast<T*>(Unwrapped(value))} {}
    Passed(const Passed&) = delete;
    Passed& operator=(const Passed&) = delete;
    ~Passed() = default;
    [[nodiscard]] T* Get() noexcept { return m_value; }

private:
    T* m_value;
};

template <>
class Passed<IWbemObjectSink*>
{
public:
    Passed(const Argument&, IWbemObjectSink* value) noexcept : m_value{WrappedSink(value)} {}
    Passed(const Passed&) = delete;
    Passed& operator=(const Passed&) = delete;
    ~Passed()
    {
        if (m_value != nullptr)
        {
            const ErrorState state;
            m_value->Release();
            state.Restore();
        }
    }
    [[nodiscard]] IWbemObjectSink* Get() noexcept { return m_value; }

private:
    IWbemObjectSink* m_value;
};

template <>
class Passed<VARIANT*>
{
public:
    Passed(const Argument& argument, VARIANT* value) noexcept : m_value{value}
    {
        if (argument.direction == Argument::Direction::In && value != nullptr && V_VT(value) == VT_UNKNOWN)
        {
            m_copy = *value; // owns nothing
            V_UNKNOWN(&m_copy) = Unwrapped(V_UNKNOWN(value));
            m_value = &m_copy;
        }
    }
    Passed(const Passed&) = delete;
    Passed& operator=(const Passed&) = delete;
    ~Passed() = default;
    [[nodiscard]] VARIANT* Get() noexcept { return m_value; }

private:
    VARIANT* m_value;
    VARIANT m_copy{};
};

// Puts proxies in the place of the objects that a call has handed out through one argument.
template <class T>
void WrapReceived(const Argument&, T) noexcept
{
}

template <class T>
    requires IsTraced<T>
void WrapReceived(const Argument& argument, T** object) noexcept
{
    if (argument.direction == Argument::Direction::Out && object != nullptr) // others belong to the caller
    {
        Wrap(__uuidof(T), reinterpret_cast<void**>(object));
    }
}

inline void WrapReceived(const Argument& argument, VARIANT* value) noexcept
{
    if (argument.direction == Argument::Direction::Out && value != nullptr && V_VT(value) == VT_UNKNOWN)
    {
        Wrap(IID_IUnknown, reinterpret_cast<void**>(&V_UNKNOWN(value)));
    }
}

// All arguments; two that only together tell what was handed out are looked at here.
template <class... Arguments>
void WrapAllReceived(const Argument* shown, Arguments... arguments) noexcept
{
    if constexpr (std::is_same_v<std::tuple<Arguments...>,
                                 std::tuple<LONG, ULONG, IWbemClassObject**, ULONG*>>) // an enumeration's Next
    {
        [](LONG, ULONG count, IWbemClassObject** objects, const ULONG* returned) {
            for (ULONG i = 0; objects != nullptr && i < (returned != nullptr ? *returned : count); ++i)
            {
                Wrap(IID_IWbemClassObject, reinterpret_cast<void**>(&objects[i]));
            }
        }(arguments...);
    }
    else
    {
        (WrapReceived(*shown++, arguments), ...);
    }
}

// Of a call that was asked for an interface by its identifier: the last two arguments.
inline void WrapRequested() noexcept {}
template <class First, class... Rest>
void WrapRequested(const First& first, const Rest&... rest) noexcept
{
    if constexpr (sizeof...(Rest) == 1 && std::is_same_v<First, GUID> && (std::is_same_v<Rest, void**> && ...))
    {
        (Wrap(first, rest), ...);
    }
    else
    {
        WrapRequested(rest...);
    }
}

template <class First, class... Rest>
[[nodiscard]] const wchar_t* FirstText(const First& first, const Rest&...) noexcept
{
    if constexpr (std::is_convertible_v<First, const wchar_t*>)
    {
        return first != nullptr ? first : L"";
    }
    else
    {
        return L"";
    }
}
[[nodiscard]] inline const wchar_t* FirstText() noexcept
{
    return L"";
}

template <class T>
void AddArgument(const TraceLog& log, Fields& fields, const Argument& argument, bool isSecret, const T& value)
{
    if (argument.direction != Argument::Direction::In)
    {
        return;
    }
    const bool hidden = (isSecret && std::is_same_v<T, VARIANT*>) || (argument.isData && !log.Options().data);
    fields.emplace_back(argument.name, hidden ? Hidden : ShowIn(argument, value));
}

template <class T>
void AddResult(TraceLog& log, Fields& fields, const Argument& argument, bool isSecret, const T& value)
{
    if (argument.direction != Argument::Direction::Out)
    {
        return;
    }
    if constexpr (std::is_same_v<T, VARIANT*>)
    {
        if (isSecret && value != nullptr && V_VT(value) == VT_BSTR && V_BSTR(value) != nullptr)
        {
            log.GetSecrets().Learn(V_BSTR(value));
        }
    }
    std::string text = ShowOut(value);
    if (!text.empty())
    {
        const bool hidden = (isSecret && std::is_same_v<T, VARIANT*>) || (argument.isData && !log.Options().data);
        fields.emplace_back(argument.name, hidden ? Hidden : std::move(text));
    }
}

template <class Result>
[[nodiscard]] std::uint64_t Bits(Result result) noexcept
{
    if constexpr (std::is_pointer_v<Result>)
    {
        return reinterpret_cast<std::uintptr_t>(result);
    }
    else
    {
        return static_cast<std::uint64_t>(result);
    }
}

// Makes the call and writes it down. `object` is what precedes the function's name.
template <class Result, class Original, class... Arguments>
Result Traced(const Function& function, const char* object, Original original, Arguments... arguments)
{
    const ErrorState before;
    const bool isSecret = function.firstNamesProperty && IsSecretName(FirstText(arguments...));
    TracedCall call{[&](const TraceLog& log, Fields& fields) {
        [[maybe_unused]] const Argument* argument = function.arguments;
        (AddArgument(log, fields, *argument++, isSecret, arguments), ...);
        return object + std::string{function.name};
    }};
    const auto make = [&]<std::size_t... Index>(std::index_sequence<Index...>) -> Result {
        before.Restore();
        return original(Passed<Arguments>{function.arguments[Index], arguments}.Get()...);
    };
    constexpr std::index_sequence_for<Arguments...> indices;
    if constexpr (std::is_void_v<Result>)
    {
        make(indices);
        const ErrorState after;
        call.End([](TraceLog&, Fields&) { return std::string{}; });
        after.Restore();
    }
    else
    {
        const Result result = make(indices);
        const ErrorState after;
        const bool failed = HasFailed(function.result, Bits(result));
        if (!failed)
        {
            WrapAllReceived(function.arguments, arguments...);
            WrapRequested(arguments...);
        }
        call.End([&](TraceLog& log, Fields& fields) {
            [[maybe_unused]] const Argument* argument = function.arguments;
            if (!failed || function.result == ResultKind::Error) // which tells sizes all the same
            {
                (AddResult(log, fields, *argument++, isSecret, arguments), ...);
            }
            return ShowResult(function.result, Bits(result), after.LastError());
        });
        after.Restore();
        return result;
    }
}

} // namespace Zv::Host::Tracing
