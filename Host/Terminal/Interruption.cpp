#include "Host/Terminal/Interruption.h"

#include "Platform/Windows/Lock.h"
#include "Platform/Windows/Signal.h"
#include "Simulator/State/Worker.h"

#include <atomic>
#include <cstdlib>
#include <exception>
#include <string>
#include <utility>

namespace Zv::Host
{

using std::chrono::milliseconds;
using Tessel::Server::Shared::Lock;
using Tessel::Server::Shared::LockGuard;
using Tessel::Server::Shared::Signal;

namespace
{

constexpr DWORD Grace = 5000;       // for the program's own end
constexpr DWORD ReportTime = 1000;  // for the last words
constexpr DWORD ConsoleTime = 4500; // a closed console's processes are ended after 5 s

// "1.5 s"
std::string SecondsText(milliseconds time)
{
    std::string text = std::to_string(time.count() / 1000);
    if (const auto rest = time.count() % 1000; rest != 0)
    {
        text += '.' + std::to_string(1000 + rest).substr(1);
        text.erase(text.find_last_not_of('0') + 1);
    }
    return text + " s";
}

void ReportQuietly(const Interruption::Report& report, const Failure& failure) noexcept
{
    try
    {
        report(failure);
    }
    catch (const std::exception&)
    {
        OutputDebugStringW(L"wmihost cannot say why it ends: the output is gone.\n");
    }
}

} // namespace

struct Interruption::State
{
    const Signal happened{Signal::Reset::Never};
    const Signal over{Signal::Reset::Never}; // the program has come to its end
    std::atomic<bool> byUser = false;
    CtrlC ctrlC = CtrlC::Interrupts;
    std::shared_ptr<State> outer; // that of the interruption around this one

    void InterruptByUser() noexcept
    {
        byUser = true;
        happened.Set();
    }

    static inline Lock lock;
    static inline std::shared_ptr<State> current; // guarded by lock; the innermost, which Ctrl-C goes to
};

Interruption::Interruption(std::optional<milliseconds> timeout, Report report, CtrlC ctrlC)
    : m_timeout{timeout},
      m_report{std::move(report)},
      m_state{std::make_shared<State>()},
      m_watch{[this] { Watch(); }}
{
    m_state->ctrlC = ctrlC;
    {
        const LockGuard held{State::lock};
        m_state->outer = std::exchange(State::current, m_state);
    }
    // Once for each, the system counts: and not under the lock, as the handler runs under one of the system's.
    SetConsoleCtrlHandler(&OnControl, TRUE);
}

Interruption::~Interruption()
{
    SetConsoleCtrlHandler(&OnControl, FALSE);
    {
        const LockGuard held{State::lock};
        State::current = m_state->outer;
    }
    m_state->over.Set();
    m_watch.join();
}

HANDLE Interruption::Event() const noexcept
{
    return m_state->happened.Event();
}

bool Interruption::Wait(milliseconds limit) const noexcept
{
    return m_state->happened.Wait(static_cast<DWORD>(limit.count()));
}

bool Interruption::IsByUser() const noexcept
{
    return m_state->byUser;
}

Failure Interruption::Reason() const
{
    if (IsByUser())
    {
        return {ExitCode::Interrupted, "interrupted"};
    }
    return {ExitCode::TimedOut, "not done after " + SecondsText(m_timeout.value_or(milliseconds{0})) + " (--timeout)"};
}

void Interruption::Check() const
{
    if (Happened())
    {
        throw Failure{Reason()};
    }
}

void Interruption::EndProcess(const Failure& failure) const noexcept
{
    try
    {
        // Whoever hangs may hold the console: the last words are not waited for without limit.
        const Simulator::Worker words{[report = m_report, failure] { ReportQuietly(report, failure); }};
        static_cast<void>(words.WaitFor(ReportTime));
    }
    catch (const std::exception&)
    {
        OutputDebugStringW(L"wmihost ends without a word: it has no memory or threads left.\n");
    }
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(failure.Code()));
    std::abort(); // never comes here
}

BOOL WINAPI Interruption::OnControl(DWORD type) noexcept
{
    std::shared_ptr<State> state;
    {
        const LockGuard held{State::lock};
        state = State::current;
    }
    if (state == nullptr)
    {
        return FALSE; // the system ends the process
    }
    if (type == CTRL_C_EVENT || type == CTRL_BREAK_EVENT)
    {
        if (state->ctrlC == CtrlC::DoesNothing)
        {
            return TRUE;
        }
        const bool isFirst = !state->byUser;
        state->InterruptByUser();
        return isFirst || state->outer != nullptr ? TRUE : FALSE;
    }
    for (; state->outer != nullptr; state = state->outer)
    {
        state->InterruptByUser();
    }
    state->InterruptByUser();
    static_cast<void>(state->over.Wait(ConsoleTime)); // the process ends when this returns
    return TRUE;
}

void Interruption::Watch() const noexcept
{
    const HANDLE waited[] = {m_state->over.Event(), m_state->happened.Event()};
    const DWORD limit = m_timeout ? static_cast<DWORD>(m_timeout->count()) : INFINITE;
    switch (WaitForMultipleObjects(2, waited, FALSE, limit))
    {
    case WAIT_OBJECT_0:
        return;
    case WAIT_TIMEOUT:
        m_state->happened.Set();
        break;
    default:
        break;
    }
    if (!m_state->over.Wait(Grace))
    {
        const Failure reason = Reason();
        EndProcess(Failure{reason.Code(), std::string{reason.what()} + "; a call that hangs was left"});
    }
}

} // namespace Zv::Host
