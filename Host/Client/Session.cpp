#include "Host/Client/Session.h"

#include "Platform/Windows/Utf8.h"

#include <exception>
#include <memory>

namespace Zv::Host
{

namespace
{

using Zv::Tessel::Server::Services::FunctionNumber;
using Zv::Tessel::Server::Services::ProgressCallback;
using Zv::Tessel::Server::Services::ZVService;

constexpr wchar_t ClientId[] = L"wmihost";

// Gives a response back to the service that made it.
class ResponseOwner
{
public:
    explicit ResponseOwner(ZVService& service) noexcept : m_service{service} {}
    ResponseOwner(const ResponseOwner&) = delete;
    ResponseOwner& operator=(const ResponseOwner&) = delete;
    ~ResponseOwner() { m_service.FreeBuffer(m_text); }

    [[nodiscard]] wchar_t** Receive() noexcept { return &m_text; }
    [[nodiscard]] const wchar_t* Get() const noexcept { return m_text; }

private:
    ZVService& m_service;
    wchar_t* m_text = nullptr;
};

bool IsAboutEvents(unsigned int function) noexcept
{
    return function == static_cast<unsigned int>(FunctionNumber::RegisterBiosEventNotification) ||
           function == static_cast<unsigned int>(FunctionNumber::UnregisterBiosWmiEventNotification);
}

// Counts a command while it runs.
class RunningCommand
{
public:
    explicit RunningCommand(std::atomic<int>& running) noexcept : m_running{running}, m_isAlone{running++ == 0} {}
    RunningCommand(const RunningCommand&) = delete;
    RunningCommand& operator=(const RunningCommand&) = delete;
    ~RunningCommand() { --m_running; }

    [[nodiscard]] bool IsAlone() const noexcept { return m_isAlone; }

private:
    std::atomic<int>& m_running;
    const bool m_isAlone;
};

} // namespace

Session::Session(ZVService& service, LegTimes& times) : m_service{service}, m_times{times}, m_problems{ClientId}
{
    std::wstring clientId = ClientId;
    m_service.StartSession(clientId.data(), &m_handle);
}

Session::~Session()
{
    m_service.EndSession(&m_handle);
}

Reply Session::Execute(unsigned int function, std::wstring request, const Progress& progress)
{
    // An exception must not pass through the module: it would become a result code there.
    std::exception_ptr thrown;
    const auto deliver = [&](wchar_t* text) {
        try
        {
            if (progress && !thrown)
            {
                progress(ToUtf8(text));
            }
        }
        catch (...)
        {
            thrown = std::current_exception();
        }
    };

    const bool isAboutEvents = IsAboutEvents(function);
    const RunningCommand running{isAboutEvents ? m_eventCommands : m_running};
    if (running.IsAlone() && (!isAboutEvents || m_running == 0))
    {
        m_problems.Forget();
    }
    ResponseOwner response{m_service};
    Reply reply;
    const LegTimes::Leg leg{m_times, "command " + std::to_string(function)};
    reply.code = m_service.ExecuteCommand(m_handle, function, request.data(), response.Receive(),
                                          ProgressCallback{deliver}, nullptr);
    if (thrown)
    {
        std::rethrow_exception(thrown);
    }
    if (response.Get() != nullptr)
    {
        reply.response = ToUtf8(response.Get());
    }
    reply.problem = m_problems.Problem();
    reply.status = m_problems.Status();
    return reply;
}

Reply Session::Execute(FunctionNumber function, std::string_view request, const Progress& progress)
{
    return Execute(static_cast<unsigned int>(function), ToUtf16(request), progress);
}

} // namespace Zv::Host
