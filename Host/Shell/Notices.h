// Lines that come while somebody may be typing.
#pragma once

#include "Host/Terminal/Console.h"

#include "Platform/Windows/Signal.h"

#include <mutex>
#include <string>

namespace Zv::Host
{

// Prints lines at once, or, while they are held, keeps them. May be used by several threads.
class Notices
{
public:
    explicit Notices(Console& console) noexcept : m_console{console} {}
    Notices(const Notices&) = delete;
    Notices& operator=(const Notices&) = delete;
    ~Notices() = default;

    // Throws Failure(InputOutput) when it cannot be printed.
    void Show(const std::string& line);

    void Hold();
    // Set when a line is kept.
    [[nodiscard]] HANDLE Kept() const noexcept { return m_kept.Event(); }
    // Prints what was kept.
    void Release();

private:
    Console& m_console;
    const Tessel::Server::Shared::Signal m_kept;
    std::mutex m_mutex;
    bool m_held = false; // guarded by m_mutex
    std::string m_lines; // guarded by m_mutex
};

} // namespace Zv::Host
