// How each function that the module imports, and each call on a simulated machine, can fail.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Zv::Testing
{

// One failure as a caller sees it.
struct Way
{
    std::uint64_t result = 0;
    DWORD error = 0;   // GetLastError(); 0 leaves it alone
    int cError = 0;    // errno; likewise
    bool done = false; // the call does its work before it reports that it failed: of calls that give something back

    [[nodiscard]] std::string Describe() const;
};

struct Failures
{
    enum class Kind
    {
        Fails,      // in these ways
        CannotFail, // its documentation knows of no failure
        Excluded    // it can fail, and is left out
    };
    Kind kind = Kind::Fails;
    std::vector<Way> ways;
    std::string_view reason; // of the other two kinds

    // Reason of functions that stand in the import table and that no command, start or end of the module calls. A call
    // of one is an error of this table.
    static constexpr std::string_view NotReached = "only linked in with the compiler's run time";
};

// Null when nothing is known of the function: a gap in the table.
[[nodiscard]] const Failures* FailuresOf(std::string_view dll, std::string_view function);

// The same of a call on a simulated machine, by the name of its site.
[[nodiscard]] const Failures* FailuresOfSite(std::string_view site);

// Functions that draw on the same supply fail together when it stays empty.
[[nodiscard]] std::string_view SupplyOf(std::string_view function);

} // namespace Zv::Testing
