// What the host sees, and what the log tells, when a call fails.
#pragma once

#include "Tests/Faults/Scenario.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Zv::Testing
{

// How a run differs from one in which nothing fails.
enum class Effect
{
    None,    // the same answers
    Silence, // the same, but less in the log
    Less,    // the same result codes, but events or programs are missing
    Other,   // the same result codes with other texts
    Fails,   // one command has the code given, and the others theirs
    Raises   // a C++ exception comes out
};

struct Expectation
{
    unsigned int groups = EveryGroup;
    std::string_view site{};
    std::wstring_view about{};     // of a call on the machine; empty: any
    int number = 0;                // of the call among those of its name; negative: from the last one, -1; 0: any
    std::optional<HRESULT> only{}; // this result of the call has a row of its own

    Effect effect = Effect::None;
    int code = 0;                      // of Effect::Fails
    std::string_view of{};             // the command that fails; empty: whichever
    std::vector<std::wstring> lines{}; // more in the log: "Warning text", with {hr} and {error} of the failure
    int joins = 0;                     // of COM: left over, or left too often
    bool staysImpersonated = false;
    std::string_view leaves{}; // over, though nothing should be
};

// Every expectation of a call in a group of scenarios; one of them is to be met.
[[nodiscard]] std::vector<Expectation> ExpectationsOf(Group group, const MadeCall& call, HRESULT result);
// Of all calls of that name: what later ones may add when they fail, too.
[[nodiscard]] std::vector<Expectation> ExpectationsOf(Group group, std::string_view site);

// A line of an expectation with what stands for the failure filled in.
[[nodiscard]] std::wstring FillIn(std::wstring line, const Way& way);

} // namespace Zv::Testing
