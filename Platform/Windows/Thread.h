// Starting detached threads.
#pragma once

#include <functional>

namespace Zv::Tessel::Server::Shared
{

// Starts a thread that runs `body` and that nobody joins. Throws std::system_error when it cannot be started (`body`
// is destroyed then) and std::bad_alloc when its state cannot be kept. `body` must not throw: as with std::thread that
// ends the process.
//
// std::thread does the same by contract, but a detached std::thread of GCC's run time that ends at once is not safe
// under Wine: the thread may never run, or take the process with it.
void StartDetachedThread(std::function<void()> body);

} // namespace Zv::Tessel::Server::Shared
