// How a traced function's arguments and result are shown.
#pragma once

#include <cstdint>
#include <string>

namespace Zv::Host::Tracing
{

// Names for a number.
using ShowNumber = std::string(std::uint64_t value);

struct Argument
{
    enum class Direction
    {
        None, // left alone, whatever it is
        In,
        Out,
    };

    const char* name = nullptr; // null: not shown
    Direction direction = Direction::None;
    ShowNumber* show = nullptr; // null: as its type is shown
    bool isData = false;        // the firmware's bytes, which are shown on request only
};

// What a function returns, and what that says about success.
enum class ResultKind
{
    Nothing,
    Number, // neither success nor failure
    Status, // HRESULT
    NtStatus,
    Error, // an error code, or 0
    Bool,  // FALSE, or null, with GetLastError()
    Handle,
    Wait,
};

struct Function
{
    const char* name;
    ResultKind result = ResultKind::Nothing;
    const Argument* arguments = nullptr; // as many as the function has
    // Whether its first argument names a property, whose name tells whether the value is secret.
    bool firstNamesProperty = false;
};

inline constexpr Argument NotShown{};
[[nodiscard]] constexpr Argument In(const char* name, ShowNumber* show = nullptr) noexcept
{
    return {name, Argument::Direction::In, show, false};
}
[[nodiscard]] constexpr Argument Out(const char* name) noexcept
{
    return {name, Argument::Direction::Out, nullptr, false};
}
[[nodiscard]] constexpr Argument InData(const char* name) noexcept
{
    return {name, Argument::Direction::In, nullptr, true};
}
[[nodiscard]] constexpr Argument OutData(const char* name) noexcept
{
    return {name, Argument::Direction::Out, nullptr, true};
}

// As the result is written; whether it says that the call failed.
[[nodiscard]] std::string ShowResult(ResultKind kind, std::uint64_t value, unsigned long lastError);
[[nodiscard]] bool HasFailed(ResultKind kind, std::uint64_t value) noexcept;

} // namespace Zv::Host::Tracing
