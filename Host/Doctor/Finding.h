// What an examination of a machine finds.
#pragma once

#include <string>
#include <vector>

namespace Zv::Host
{

// One thing that the module works with.
struct Finding
{
    enum class State
    {
        Ok,
        Missing,
        Unknown, // it could not be found out
    };

    State state = State::Unknown;
    std::string subject;
    std::string detail;  // what was seen; may be empty
    std::string meaning; // of its lack, for the module's users; empty where all is well
    std::string advice;  // likewise
};

using Findings = std::vector<Finding>;

// A thing to look for.
struct Subject
{
    std::string name;
    const char* meaning; // of its lack
    const char* advice;

    [[nodiscard]] Finding Is(Finding::State state, const std::string& detail = {}) const
    {
        return state == Finding::State::Ok ? Finding{state, name, detail, {}, {}}
                                           : Finding{state, name, detail, meaning, advice};
    }
    [[nodiscard]] Finding Ok(const std::string& detail = {}) const { return Is(Finding::State::Ok, detail); }
    [[nodiscard]] Finding Missing(const std::string& detail = {}) const { return Is(Finding::State::Missing, detail); }
    [[nodiscard]] Finding Unknown(const std::string& detail) const { return Is(Finding::State::Unknown, detail); }
};

} // namespace Zv::Host
