// A control channel: lets another process send events to a simulated machine.
#pragma once

#include "Platform/Windows/Handle.h"
#include "Simulator/State/Worker.h"

#include <windows.h>

#include <memory>
#include <string>

namespace Zv::Simulator
{

class Machine;

// While it lives, processes of this computer may send events by the channel's name. A request and its answer are one
// message each on a named pipe, in ASCII: "event ID DATA" is answered with "ok N" (N subscriptions were live when
// it came; the machine's own threads deliver) or "error" and what is wrong.
class EventChannel
{
public:
    // The machine must outlive the channel. Throws std::system_error when the name is taken or the pipe cannot be made.
    EventChannel(Machine& machine, const std::wstring& name);
    EventChannel(const EventChannel&) = delete;
    EventChannel& operator=(const EventChannel&) = delete;
    ~EventChannel();

    // Sends one event from any process and returns the answer. Throws std::system_error when nobody has the channel or
    // answers within so many milliseconds.
    [[nodiscard]] static std::string Send(const std::wstring& name, int id, int data, DWORD milliseconds = 5000);

private:
    enum class Stop
    {
        Now,
        Later
    };

    void Serve();
    [[nodiscard]] bool Finish(OVERLAPPED& operation, BOOL started, DWORD limit, Stop stop, DWORD& bytes);
    [[nodiscard]] std::string Answer(const std::string& request);

    Machine& m_machine;
    Tessel::Server::Shared::Handle m_pipe;
    Tessel::Server::Shared::Handle m_stop;
    Tessel::Server::Shared::Handle m_done; // of the operation under way
    std::unique_ptr<Worker> m_worker;      // last: works with all of the above
};

} // namespace Zv::Simulator
