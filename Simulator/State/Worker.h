// A thread that is waited for, but not for ever.
#pragma once

#include "Platform/Windows/Handle.h"

#include <windows.h>

#include <cstddef>
#include <functional>
#include <vector>

namespace Zv::Simulator
{

// Runs the body on a thread of its own, joined to the multithreaded apartment. When the owner goes before the body has
// ended the thread is left to itself: the body must own what it uses.
class Worker
{
public:
    // Throws std::system_error when the thread cannot be started. The body must not throw.
    explicit Worker(std::function<void()> body);

    // False when the body has not ended within the limit.
    [[nodiscard]] bool WaitFor(DWORD milliseconds) const noexcept;

private:
    Tessel::Server::Shared::Handle m_thread;
};

// How many have not ended within the limit, which is one for all of them.
[[nodiscard]] std::size_t CountBusy(const std::vector<Worker>& workers, DWORD milliseconds) noexcept;

} // namespace Zv::Simulator
