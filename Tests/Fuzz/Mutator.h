// New inputs from old ones.
#pragma once

#include "Tests/Fuzz/Input.h"
#include "Tests/Fuzz/Random.h"

namespace Zv::Fuzz
{

// Changes the input in a few places; `other` lends parts of itself.
[[nodiscard]] Input Mutate(Input input, const Input& other, Random& random);

// Inputs that somebody thought of: every function with requests that it understands, and the extremes: deep nesting,
// huge numbers, megabytes of text, odd UTF-16.
[[nodiscard]] std::vector<Input> Seeds();

} // namespace Zv::Fuzz
