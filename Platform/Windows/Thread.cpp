#include "Platform/Windows/Thread.h"

#include "Platform/Windows/Handle.h"

#include <process.h>

#include <cerrno>
#include <memory>
#include <system_error>
#include <utility>

namespace Zv::Tessel::Server::Shared
{

namespace
{

unsigned __stdcall RunBody(void* argument) noexcept
{
    const std::unique_ptr<std::function<void()>> body{static_cast<std::function<void()>*>(argument)};
    (*body)();
    return 0;
}

} // namespace

void StartDetachedThread(std::function<void()> body)
{
    auto argument = std::make_unique<std::function<void()>>(std::move(body));
    // _beginthreadex declares the handle that it returns as an integer. NOLINTNEXTLINE(performance-no-int-to-ptr)
    const Handle thread{reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, &RunBody, argument.get(), 0, nullptr))};
    if (!thread)
    {
        throw std::system_error{errno, std::generic_category()};
    }
    static_cast<void>(argument.release()); // the thread owns it now
}

} // namespace Zv::Tessel::Server::Shared
