#include "Simulator/EventChannel.h"

#include "Simulator/Machine.h"

#include <exception>
#include <sstream>
#include <system_error>

namespace Zv::Simulator
{

using Tessel::Server::Shared::Handle;

namespace
{

constexpr DWORD MessageSize = 256;

// How long one client may keep the others waiting, in milliseconds.
constexpr DWORD Patience = 5000;

std::wstring PipeName(const std::wstring& name)
{
    return L"\\\\.\\pipe\\zv-machine-" + name;
}

[[noreturn]] void ThrowLastError(const char* what)
{
    throw std::system_error{static_cast<int>(GetLastError()), std::system_category(), what};
}

Handle MakeEvent(bool manualReset)
{
    Handle event{CreateEventW(nullptr, manualReset ? TRUE : FALSE, FALSE, nullptr)};
    if (!event)
    {
        ThrowLastError("CreateEvent");
    }
    return event;
}

} // namespace

EventChannel::EventChannel(Machine& machine, const std::wstring& name)
    : m_machine{machine},
      m_pipe{CreateNamedPipeW(PipeName(name).c_str(),
                              PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
                              PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_REJECT_REMOTE_CLIENTS, 1, MessageSize,
                              MessageSize, 0, nullptr)}
{
    if (!m_pipe)
    {
        ThrowLastError("CreateNamedPipe");
    }
    m_stop = MakeEvent(true);
    m_done = MakeEvent(true);
    m_worker = std::make_unique<Worker>([this] { Serve(); });
}

EventChannel::~EventChannel()
{
    SetEvent(m_stop.Get());
    // The thread waits for the stop event, or no longer than its patience.
    static_cast<void>(m_worker->WaitFor(INFINITE));
}

std::string EventChannel::Send(const std::wstring& name, int id, int data, DWORD milliseconds)
{
    std::string request = "event " + std::to_string(id) + " " + std::to_string(data);
    char answer[MessageSize];
    DWORD size = 0;
    const ULONGLONG end = GetTickCount64() + milliseconds;
    while (CallNamedPipeW(PipeName(name).c_str(), request.data(), static_cast<DWORD>(request.size()), answer,
                          sizeof answer, &size, milliseconds) == FALSE)
    {
        // Another sender may come between this one's waiting for the pipe and its opening.
        if (GetLastError() != ERROR_PIPE_BUSY || GetTickCount64() >= end)
        {
            ThrowLastError("CallNamedPipe");
        }
        SwitchToThread();
    }
    return std::string{answer, size};
}

void EventChannel::Serve()
{
    while (WaitForSingleObject(m_stop.Get(), 0) != WAIT_OBJECT_0)
    {
        OVERLAPPED operation{};
        operation.hEvent = m_done.Get();
        char request[MessageSize];
        DWORD size = 0;
        const BOOL connected = ConnectNamedPipe(m_pipe.Get(), &operation);
        const bool waiting = GetLastError() == ERROR_PIPE_CONNECTED; // came before we asked
        if (((connected == FALSE && waiting) || Finish(operation, connected, INFINITE, Stop::Now, size)) &&
            Finish(operation, ReadFile(m_pipe.Get(), request, sizeof request, nullptr, &operation), Patience, Stop::Now,
                   size))
        {
            const std::string answer = Answer({request, size});
            DWORD written = 0;
            // The event is on its way: its sender learns that even if the channel is to end because of it. A client
            // that is gone gets no answer.
            static_cast<void>(
                Finish(operation,
                       WriteFile(m_pipe.Get(), answer.data(), static_cast<DWORD>(answer.size()), nullptr, &operation),
                       Patience, Stop::Later, written) &&
                Finish(operation, ReadFile(m_pipe.Get(), request, sizeof request, nullptr, &operation), Patience,
                       Stop::Later, size));
        }
        DisconnectNamedPipe(m_pipe.Get());
    }
}

// Waits for an operation on the pipe; false when it failed, takes too long, or the channel is to end now.
bool EventChannel::Finish(OVERLAPPED& operation, BOOL started, DWORD limit, Stop stop, DWORD& bytes)
{
    if (started == FALSE && GetLastError() != ERROR_IO_PENDING)
    {
        return false;
    }
    const HANDLE waited[] = {m_done.Get(), m_stop.Get()};
    if (WaitForMultipleObjects(stop == Stop::Now ? 2 : 1, waited, FALSE, limit) != WAIT_OBJECT_0)
    {
        CancelIo(m_pipe.Get());
        static_cast<void>(GetOverlappedResult(m_pipe.Get(), &operation, &bytes, TRUE));
        return false;
    }
    return GetOverlappedResult(m_pipe.Get(), &operation, &bytes, TRUE) != FALSE;
}

std::string EventChannel::Answer(const std::string& request)
{
    std::istringstream words{request};
    std::string verb;
    int id = 0;
    int data = 0;
    if (!(words >> verb >> id >> data) || verb != "event" || !(words >> std::ws).eof())
    {
        return "error expected \"event ID DATA\"";
    }
    try
    {
        const std::size_t subscriptions = m_machine.Subscriptions(); // before: no fewer are reached
        m_machine.PostEvent(id, data);
        return "ok " + std::to_string(subscriptions);
    }
    catch (const std::exception& error)
    {
        return std::string{"error "} + error.what();
    }
}

} // namespace Zv::Simulator
