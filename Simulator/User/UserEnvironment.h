// The environment variables of a simulated user.
#pragma once

#include "Simulator/Description/Description.h"

#include <string>
#include <string_view>
#include <vector>

namespace Zv::Simulator
{

// The variables of the description, the profile folder among them, over those that this system gives to its own user.
class UserEnvironment
{
public:
    // Takes the system's part from the environment block of that user's token.
    UserEnvironment(const Session& session, HANDLE systemUser);

    // Puts values in the place of %NAME%; unknown names stay as they are, as Windows leaves them.
    [[nodiscard]] std::wstring Expand(std::wstring_view text) const;

    // NAME=value, sorted by name without regard to case, as environment blocks are.
    [[nodiscard]] const std::vector<std::wstring>& Entries() const noexcept { return m_entries; }
    // The same as a block for process creation.
    [[nodiscard]] std::wstring Block() const;

private:
    void Set(std::wstring_view name, std::wstring_view value);
    [[nodiscard]] const std::wstring* Find(std::wstring_view name) const;

    std::vector<std::wstring> m_entries;
};

} // namespace Zv::Simulator
