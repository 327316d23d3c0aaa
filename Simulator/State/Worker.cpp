#include "Simulator/State/Worker.h"

#include <combaseapi.h>
#include <process.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <system_error>

namespace Zv::Simulator
{

namespace
{

using Body = std::function<void()>;

unsigned __stdcall Run(void* argument)
{
    const std::unique_ptr<Body> body{static_cast<Body*>(argument)};
    const HRESULT joined = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    (*body)();
    if (SUCCEEDED(joined))
    {
        CoUninitialize();
    }
    return 0;
}

} // namespace

Worker::Worker(Body body)
{
    auto argument = std::make_unique<Body>(std::move(body));
    const std::uintptr_t thread = _beginthreadex(nullptr, 0, Run, argument.get(), 0, nullptr);
    if (thread == 0)
    {
        throw std::system_error{errno, std::generic_category(), "a simulator's thread"};
    }
    static_cast<void>(argument.release()); // the thread's now
    m_thread = Tessel::Server::Shared::Handle{reinterpret_cast<HANDLE>(thread)};
}

bool Worker::WaitFor(DWORD milliseconds) const noexcept
{
    return WaitForSingleObject(m_thread.Get(), milliseconds) == WAIT_OBJECT_0;
}

std::size_t CountBusy(const std::vector<Worker>& workers, DWORD milliseconds) noexcept
{
    const ULONGLONG end = GetTickCount64() + milliseconds;
    return static_cast<std::size_t>(std::ranges::count_if(workers, [&](const Worker& worker) {
        const ULONGLONG now = GetTickCount64();
        return !worker.WaitFor(now < end ? static_cast<DWORD>(end - now) : 0);
    }));
}

} // namespace Zv::Simulator
