// Running a helper program of the tests.
#pragma once

#include <filesystem>
#include <string>

namespace Zv::Testing
{

// What the program writes, without carriage returns, once it has ended. Throws std::runtime_error when it cannot be
// started, takes more than half a minute (it is ended then) or ends with an exit code other than 0.
[[nodiscard]] std::string RunToEnd(const std::filesystem::path& program, const std::wstring& arguments);

} // namespace Zv::Testing
