// Machine descriptions with one mistake each.
#pragma once

#include <string>
#include <vector>

namespace Zv::Testing
{

// A description with one mistake in it. `$` marks where the error is to be reported; it is cut out before parsing.
struct BadDescription
{
    std::string name;
    std::string marked;
    std::string expectation; // how the message begins

    [[nodiscard]] std::string Text() const;
};

// With the members in one class of one namespace, or at the top.
[[nodiscard]] std::string InClass(const std::string& members);
[[nodiscard]] std::string InRoot(const std::string& members);

// Mistakes that the schema of machine descriptions catches as well.
[[nodiscard]] const std::vector<BadDescription>& StructuralMistakes();

} // namespace Zv::Testing
