// Inputs in files.
#pragma once

#include "Tests/Fuzz/Input.h"

#include <filesystem>
#include <vector>

namespace Zv::Fuzz
{

// Of every file of the folder, or of the one file, the smaller ones first. Throws std::runtime_error when it cannot be
// read.
[[nodiscard]] std::vector<Input> Load(const std::filesystem::path& place);

// Writes the input to a file of the folder, named after its content.
void Save(const std::filesystem::path& folder, const Input& input);

} // namespace Zv::Fuzz
