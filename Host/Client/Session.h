// A session with the service.
#pragma once

#include "Host/Client/LegTimes.h"
#include "Host/Watch/ProblemWatch.h"

#include "Services/ZVService.h"

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace Zv::Host
{

// What a command answered, in UTF-8.
struct Reply
{
    int code = 0;                        // a ResultCode
    std::optional<std::string> response; // JSON; nothing where the module made none
    std::string problem;                 // what ProblemWatch kept of the module's log meanwhile, or empty
    unsigned int status = 0;             // the HRESULT of the failed call among it, or 0
};

// Starts a session and ends it with its life. Commands may run on several threads; what the module logs about one of
// them then counts as the problem of all that run at that time. Where a registration waits for events, what was logged
// before counts for nobody.
class Session
{
public:
    // Receives each progress text, in UTF-8.
    using Progress = std::function<void(std::string_view)>;

    // Each command is a leg of the times.
    Session(Zv::Tessel::Server::Services::ZVService& service, LegTimes& times);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session();

    // The request is changed by nobody, though the interface takes it as if it were. What `progress` throws leaves
    // this call once the command has returned.
    [[nodiscard]] Reply Execute(unsigned int function, std::wstring request, const Progress& progress = {});
    [[nodiscard]] Reply Execute(Zv::Tessel::Server::Services::FunctionNumber function, std::string_view request,
                                const Progress& progress = {});

private:
    Zv::Tessel::Server::Services::ZVService& m_service;
    LegTimes& m_times;
    ProblemWatch m_problems;
    std::atomic<int> m_running = 0;       // commands but for those next
    std::atomic<int> m_eventCommands = 0; // functions 4, which waits, and 8
    void* m_handle = nullptr;
};

} // namespace Zv::Host
