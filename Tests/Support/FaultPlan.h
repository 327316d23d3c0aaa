// Which calls are to fail, and how often each call site was reached.
#pragma once

#include "Platform/Windows/Lock.h"

#include <windows.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Zv::Testing
{

// One way for a call site to fail. Calls count from 1, in the order in which they are made.
struct Fault
{
    int first = 1;
    int last = std::numeric_limits<int>::max();
    std::uint64_t result = 0;       // the value returned instead of making the call: HRESULT, BOOL, pointer …
    std::optional<DWORD> lastError; // set before the call returns

    template <class Result>
    static Fault Every(Result value, std::optional<DWORD> error = {})
    {
        return From(1, value, error);
    }
    template <class Result>
    static Fault Nth(int call, Result value, std::optional<DWORD> error = {})
    {
        return {call, call, static_cast<std::uint64_t>(value), error};
    }
    template <class Result>
    static Fault From(int call, Result value, std::optional<DWORD> error = {})
    {
        return {call, std::numeric_limits<int>::max(), static_cast<std::uint64_t>(value), error};
    }
};

// A call site is a platform function ("CoCreateInstance") or a method of a scripted COM object
// ("IWbemServices::ExecQuery"). Every operation may be called from any thread.
class FaultPlan
{
public:
    // Several faults of one site may stand beside each other; the first that fits is used.
    void Fail(const std::string& site, Fault fault);
    // Runs at every call of the site, before it, on the calling thread, with the call's number.
    void Before(const std::string& site, std::function<void(int call)> action);
    // Forgets faults and actions, and counts anew.
    void Clear();

    // Counts a call; the fault that it is to have, if any.
    [[nodiscard]] std::optional<Fault> Enter(const std::string& site);

    [[nodiscard]] int Calls(const std::string& site) const;
    // Every site reached so far with its number of calls.
    [[nodiscard]] std::map<std::string, int> Sites() const;

private:
    struct Site
    {
        int calls = 0;
        std::vector<Fault> faults;
        std::function<void(int)> before;
    };

    mutable Tessel::Server::Shared::Lock m_lock;
    std::map<std::string, Site> m_sites; // guarded by m_lock
};

} // namespace Zv::Testing
