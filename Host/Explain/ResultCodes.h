// What each result code means to a person.
#pragma once

#include <span>
#include <string>

namespace Zv::Host
{

// One row of the table of result codes: for error lines, for explanations, for the documentation.
struct ResultCodeInfo
{
    int code;
    const char* name;    // in ResultCode.h
    const char* meaning; // short, fits behind the number in an error line
    const char* causes;  // likely ones
    const char* advice;  // what to do
};

// In ascending order, success first.
[[nodiscard]] std::span<const ResultCodeInfo> AllResultCodes() noexcept;

// Null for a number that the module does not return.
[[nodiscard]] const ResultCodeInfo* FindResultCode(int code) noexcept;

// "0x2000000f"
[[nodiscard]] std::string HexCode(int code);

// "0x2000000f: no such class: Win32_Foo in ROOT\CIMV2". The subject may be empty. The problem, what the module logged,
// is added where the code does not say enough by itself; it may be empty, too.
[[nodiscard]] std::string ErrorLine(int code, const std::string& subject, const std::string& problem);

} // namespace Zv::Host
