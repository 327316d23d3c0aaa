// The module's imports under the tests' control.
#pragma once

#include "Interception/ImportTable.h"
#include "Tests/Support/Hook.h"

#include <functional>
#include <memory>
#include <vector>

namespace Zv::Testing
{

enum class Traced
{
    No,
    Yes
};

// Redirects the module's imports while it lives: heap, COM, OLE automation, kernel objects, base64, RPC, tokens,
// threads. Each call goes through the fault plan under the function's name, traced ones into the transcript. One at a
// time per process. Functions beyond those are added with Watch.
class PlatformCalls
{
public:
    PlatformCalls(HMODULE module, Transcript& transcript, FaultPlan& plan, Ledgers& ledgers);
    PlatformCalls(const PlatformCalls&) = delete;
    PlatformCalls& operator=(const PlatformCalls&) = delete;
    ~PlatformCalls();

    // Replace<"CoCreateInstance", decltype(CoCreateInstance)>([&](…) { … });
    // Faults come before the replacement. An empty function brings the original back. A function that was not watched
    // before is traced from here on.
    template <Name Function, class Signature>
    void Replace(std::function<Signature> replacement)
    {
        using ThisHook = Hook<Function, Signature>;
        if (ThisHook::state.context == nullptr)
        {
            Watch<Function, Signature>(Traced::Yes);
        }
        ThisHook::state.replacement = std::move(replacement);
    }

    // What the import leads to without redirection; null when the module does not import the function.
    template <Name Function, class Signature>
    [[nodiscard]] Signature* Original() const
    {
        return Hook<Function, Signature>::state.original;
    }

    // Redirects the import of that name from whichever DLL. Returns the hook's state, to give it bookkeeping. A
    // function that the module does not import is not an error here: it is never called then.
    template <Name Function, class Signature>
    auto& Watch(Traced traced)
    {
        using ThisHook = Hook<Function, Signature>;
        auto& state = ThisHook::state;
        if (state.context == nullptr)
        {
            state.context = &m_context;
            const std::vector<void**> slots = m_imports.Find(nullptr, Function.text);
            m_redirections.emplace_back(slots, reinterpret_cast<void*>(&ThisHook::Call));
            state.original = m_redirections.back().template Original<decltype(state.original)>();
            m_reset.push_back([] { ThisHook::state = {}; });
        }
        state.traced = traced == Traced::Yes;
        return state;
    }

    // Whether the module imports a function of that name.
    [[nodiscard]] bool Imports(const char* function) const { return m_imports.Contains(nullptr, function); }

private:
    void WatchHeap();
    void WatchCom();
    void WatchAutomation();
    void WatchKernel();
    void WatchTokensAndProcesses();
    void WatchThreadsAndEnvironments();
    void WatchCryptographyAndRpc();

    Interception::ImportTable m_imports;
    HookContext m_context;
    std::vector<Interception::Redirection> m_redirections;
    std::vector<void (*)()> m_reset;
};

} // namespace Zv::Testing
