// Runs programs and keeps what they write.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace Zv::Testing
{

struct Outcome
{
    int exitCode = -1;
    std::string output; // standard output, as bytes
    std::string error;  // standard error, as bytes

    [[nodiscard]] std::vector<std::string> OutputLines() const; // without blanks at their ends
};

// Arguments are UTF-8 and reach the program as they are, whatever characters they hold. Throws std::runtime_error when
// the program cannot be started or has not ended after a minute (it is ended then).
[[nodiscard]] Outcome RunProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                                 std::string_view input = {});

// The wmihost.exe that was built with this test.
[[nodiscard]] Outcome RunHost(const std::vector<std::string>& arguments, std::string_view input = {});

// The same on a machine of Simulator/machines, such as "notebook".
[[nodiscard]] Outcome RunSimulated(const std::string& machine, std::vector<std::string> arguments,
                                   std::string_view input = {});

// The folder of wmihost.exe and the module.
[[nodiscard]] std::filesystem::path HostFolder();

} // namespace Zv::Testing
