// How a subcommand gives up.
#pragma once

#include "Host/Text/ExitCode.h"

#include "Simulator/Description/DescriptionError.h"

#include <stdexcept>
#include <string>

namespace Zv::Host
{

// Ends the program with an exit code and one line on standard error, in UTF-8.
class Failure : public std::runtime_error
{
public:
    Failure(ExitCode exitCode, const std::string& line) : std::runtime_error{line}, m_exitCode{exitCode} {}

    [[nodiscard]] ExitCode Code() const noexcept { return m_exitCode; }

private:
    ExitCode m_exitCode;
};

// The module answered with a result code other than 0.
class CommandFailure : public Failure
{
public:
    CommandFailure(int resultCode, const std::string& line)
        : Failure{ExitCode::CommandFailed, line},
          m_resultCode{resultCode}
    {
    }

    [[nodiscard]] int ResultCode() const noexcept { return m_resultCode; }

private:
    int m_resultCode;
};

// A machine description is not valid.
class DescriptionFailure : public Failure
{
public:
    DescriptionFailure(const std::string& file, const Simulator::DescriptionError& error)
        : Failure{ExitCode::BadInput, file + ": " + error.what()},
          line{error.line},
          column{error.column}
    {
    }

    int line;
    int column;
};

} // namespace Zv::Host
