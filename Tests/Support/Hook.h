// One platform function as the module imports it: counted, traced, failed or replaced by a test.
#pragma once

#include "Tests/Support/FaultPlan.h"
#include "Tests/Support/Ledgers.h"
#include "Tests/Support/Show.h"
#include "Tests/Support/Text.h"
#include "Tests/Support/Transcript.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>
#include <type_traits>

namespace Zv::Testing
{

// A name as a template argument.
template <std::size_t Size>
struct Name
{
    char text[Size];
    consteval Name(const char (&name)[Size]) { std::copy_n(name, Size, text); }
};

// What all hooks of one PlatformCalls work with.
struct HookContext
{
    Transcript& transcript;
    FaultPlan& plan;
    Ledgers& ledgers;
};

// The state is static since the address of Call is what the module jumps to. It is changed only while no thread of the
// module is inside; Call itself may run on any thread.
template <Name Function, class Signature>
struct Hook;

template <Name Function, class Result, class... Arguments>
struct Hook<Function, Result(Arguments...)>
{
    static constexpr bool ReturnsNothing = std::is_void_v<Result>;

    struct State
    {
        HookContext* context = nullptr;
        Result (*original)(Arguments...) = nullptr;
        std::function<Result(Arguments...)> replacement; // empty: the original
        bool traced = false;
        // Bookkeeping: `given` runs before the call, so that an address that is used anew meanwhile is not mixed up.
        void (*given)(Ledgers&, Arguments...) = nullptr;
        std::function<void(Ledgers&, std::conditional_t<ReturnsNothing, int, Result>, Arguments...)> taken;
    };

    static inline State state;

    static Result Call(Arguments... arguments)
    {
        HookContext& context = *state.context;
        std::wstring line;
        if (state.traced)
        {
            line = Widen(Function.text) + L"(" + ShowAll<std::remove_cvref_t<Arguments>...>(arguments...) + L")";
        }
        const std::optional<Fault> fault = context.plan.Enter(Function.text);
        if (state.given != nullptr)
        {
            state.given(context.ledgers, arguments...);
        }

        if constexpr (ReturnsNothing)
        {
            if (!fault)
            {
                Make(arguments...);
            }
            const DWORD lastError = GetLastError();
            Note(context, std::move(line));
            SetLastError(lastError);
        }
        else
        {
            const Result result = fault ? Failed(*fault) : Make(arguments...);
            const DWORD lastError = GetLastError();
            if (state.taken)
            {
                state.taken(context.ledgers, result, arguments...);
            }
            if (state.traced)
            {
                if constexpr (std::is_same_v<Result, HRESULT>)
                {
                    line += L" = " + ShowResult(result);
                }
                else
                {
                    line += L" = " + Show(result);
                }
            }
            Note(context, std::move(line));
            SetLastError(lastError);
            return result;
        }
    }

private:
    static Result Make(Arguments... arguments)
    {
        return state.replacement ? state.replacement(arguments...) : state.original(arguments...);
    }

    static auto Failed(const Fault& fault)
    {
        if (fault.lastError)
        {
            SetLastError(*fault.lastError);
        }
        if constexpr (std::is_pointer_v<Result>)
        {
            return reinterpret_cast<Result>(fault.result);
        }
        else
        {
            return static_cast<Result>(fault.result);
        }
    }

    static void Note(HookContext& context, std::wstring line)
    {
        if (state.traced)
        {
            context.transcript.Add(std::move(line));
        }
    }
};

template <Name Function, class Result, class... Arguments>
struct Hook<Function, Result(Arguments...) noexcept> : Hook<Function, Result(Arguments...)>
{
};

} // namespace Zv::Testing
