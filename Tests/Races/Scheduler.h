// Lets threads take turns, in an order that a seed chooses.
#pragma once

#include "Platform/Windows/Lock.h"
#include "Tests/Faults/ImportGate.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace Zv::Testing
{

// Only one of the threads runs at a time. Each call that the module makes of the platform may be the end of its turn;
// calls that wait are tried again and again, a turn each, and a few calls take as long as hundreds of turns. So a seed
// always gives the same order, whatever the machine does besides. When nobody gets any further the process is ended
// with a message.
class Scheduler final : public GateKeeper
{
public:
    explicit Scheduler(std::uint64_t seed);

    // Runs each body on a thread of its own, to the end.
    void Run(const std::vector<std::function<void()>>& bodies);

    // A number below the limit, for the bodies.
    [[nodiscard]] std::size_t Choose(std::size_t limit);
    // For the bodies: lets the others run until it holds.
    void WaitUntil(std::string_view what, const std::function<bool()>& holds);
    // Whether the thread has made a call of the platform.
    [[nodiscard]] bool HasCalled(std::size_t thread) const { return m_threads[thread]->calls != 0; }

    [[nodiscard]] std::size_t Switches() const noexcept { return m_switches; }

    [[nodiscard]] bool Answers(const GatedImport& import, const CallArguments& arguments,
                               std::uint64_t& result) noexcept override;

private:
    // Of its own thread's turn, as everything here.
    struct Thread
    {
        Tessel::Server::Shared::Condition turn;
        bool alive = true;
        std::size_t calls = 0;
        std::size_t delayedUntil = 0; // this turn, unless all others are delayed, too
        std::string_view waitsFor;    // empty: for nothing
    };

    void PassTurn();
    void End();
    // Tries until it succeeds, a turn each.
    template <class Try>
    void Poll(std::string_view what, Try attempt);
    [[nodiscard]] std::size_t Next();
    [[noreturn]] void Deadlock() const;

    const std::uint64_t m_seed;
    std::mt19937_64 m_random;
    mutable Tessel::Server::Shared::Lock m_lock;
    std::vector<std::unique_ptr<Thread>> m_threads;
    std::size_t m_current = 0; // guarded by m_lock
    std::size_t m_turns = 0;
    std::size_t m_switches = 0;
    std::size_t m_idle = 0; // tries in a row that were in vain
};

} // namespace Zv::Testing
