// Inputs under which something goes wrong.
#pragma once

#include "Tests/Fuzz/Input.h"

#include <filesystem>
#include <string>

namespace Zv::Fuzz
{

// The exit code of a run that found something.
inline constexpr int FoundSomething = 88;

// Keeps the input that runs, so that it can be written to a file of `folder` whatever becomes of the process: a crash,
// an overflow of the stack, the C run time ending it, or no progress for a long time. One at a time per process.
class Findings
{
public:
    explicit Findings(std::filesystem::path folder);
    Findings(const Findings&) = delete;
    Findings& operator=(const Findings&) = delete;
    ~Findings() = default; // the handlers stay: the process ends with the run

    // Before each run.
    void Begin(const Input& input);

    // Writes the input's file and ends the process.
    [[noreturn]] static void End(const char* what) noexcept;
};

} // namespace Zv::Fuzz
