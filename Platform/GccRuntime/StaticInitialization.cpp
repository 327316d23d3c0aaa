// Initialisation of function-local static objects in builds with GCC, without memory.
//
// GCC's run time guards it with a mutex of winpthread, which allocates on first use and writes through the null pointer
// when there is no memory. The functions below take the place of the run time's own (the linker leaves those out of the
// module), as the C++ ABI describes them.
#if defined(__GNUC__) && !defined(_MSC_VER)

#include "Platform/Windows/Lock.h"

#include <atomic>

namespace
{

using Zv::Tessel::Server::Shared::Condition;
using Zv::Tessel::Server::Shared::Lock;
using Zv::Tessel::Server::Shared::LockGuard;
using Zv::Tessel::Server::Shared::UniqueLock;

// Eight zeroed bytes beside each such object. Code that finds the first one set goes past the initialisation.
struct Guard
{
    std::atomic<bool> done;
    bool running; // guarded by g_lock
    char spare[6];
};
static_assert(sizeof(Guard) == 8);

// Of all objects: an initialisation runs without it.
Lock g_lock;
Condition g_changed;

void End(Guard* guard, bool done) noexcept
{
    {
        const LockGuard held{g_lock};
        guard->running = false;
        guard->done.store(done, std::memory_order_release);
    }
    g_changed.NotifyAll();
}

} // namespace

namespace __cxxabiv1
{

extern "C"
{

    // 1: the caller is to initialise the object and then to call one of the others.
    int __cxa_guard_acquire(Guard* guard) noexcept
    {
        UniqueLock held{g_lock};
        g_changed.Wait(held, [guard] { return !guard->running; });
        if (guard->done.load(std::memory_order_relaxed))
        {
            return 0;
        }
        guard->running = true;
        return 1;
    }

    void __cxa_guard_release(Guard* guard) noexcept
    {
        End(guard, true);
    }

    // The initialisation has thrown: the next one tries again.
    void __cxa_guard_abort(Guard* guard) noexcept
    {
        End(guard, false);
    }

} // extern "C"

} // namespace __cxxabiv1

#endif
