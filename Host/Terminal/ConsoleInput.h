// Standard input, line by line.
#pragma once

#include "Host/Terminal/Interruption.h"

#include "Platform/Windows/Handle.h"
#include "Platform/Windows/Signal.h"

#include <cstddef>
#include <optional>
#include <string>
#include <thread>

namespace Zv::Host
{

[[nodiscard]] bool InputIsConsole() noexcept;

// The next line in UTF-8, without its end; nothing at the end of the input. Throws Failure: InputOutput when it cannot
// be read, BadInput when it is not UTF-8 or has a zero character, the interruption's when Ctrl-C is the answer.
[[nodiscard]] std::optional<std::string> ReadInputLine(const Interruption& interruption);

// How many lines this process has read.
[[nodiscard]] std::size_t InputLinesRead() noexcept;

// While it lives, an interruption ends the reads of standard input by the thread that made it: they fail, or, at a
// console, return what has been typed.
class ReadBreaker
{
public:
    explicit ReadBreaker(const Interruption& interruption);
    ReadBreaker(const ReadBreaker&) = delete;
    ReadBreaker& operator=(const ReadBreaker&) = delete;
    ~ReadBreaker();

private:
    void Watch() const noexcept;

    const Interruption& m_interruption;
    const Tessel::Server::Shared::Handle m_reader;
    const Tessel::Server::Shared::Signal m_over;
    std::thread m_watch; // last: works with all of the above
};

// While it lives, a console does not show what is typed.
class HiddenInput
{
public:
    HiddenInput() noexcept;
    HiddenInput(const HiddenInput&) = delete;
    HiddenInput& operator=(const HiddenInput&) = delete;
    ~HiddenInput();

private:
    unsigned long m_mode = 0; // as it was; 0 when there is no console
};

} // namespace Zv::Host
