// The fixture of tests of firmware events.
#pragma once

#include "Tests/Events/RegisterCall.h"
#include "Tests/Support/Counter.h"
#include "Tests/Support/FakeEvents.h"
#include "Tests/Support/ModuleTest.h"

#include <atomic>
#include <chrono>
#include <string>

namespace Zv::Testing
{

inline constexpr char BiosWmiEventClass[] = "class Zv::Tessel::Server::Shared::WMI::BiosWmiEvent";
inline constexpr char BiosWmiEventSinkClass[] = "class Zv::Tessel::Server::Shared::WMI::BiosWmiEventSink";
inline constexpr char RegisterMethod[] = "RegisterBiosEventNotification";

// {"filterEvent":id}
[[nodiscard]] std::wstring Filter(int id);
inline constexpr wchar_t AllEvents[] = L"{\"filterEvent\":0}";

// {"eventId":id,"eventData":data}
[[nodiscard]] std::wstring EventText(int id, int data);

// {"result":number}
[[nodiscard]] std::wstring Result(int number);

// Scripted WMI delivers firmware events, and the RPC run time answers questions about the client.
class EventTest : public ModuleTest
{
protected:
    explicit EventTest(std::chrono::milliseconds limit = Watchdog::Default);

    void TearDown() override;

    // By contract COM is left by the thread that gives the session up last. To be called where that is none that has
    // set the subscription up: no registration waits any more, or it is not the first.
    void ExpectComLeftByAnotherThread() { ledgers.comJoins.Offset(); }

    // Delivers an event to the live subscriptions, on the calling thread.
    HRESULT Emit(int id, int data) { return Emit(FirmwareEvent(id, data)); }
    HRESULT Emit(ObjectScriptPtr event);

    [[nodiscard]] Reply Register(const std::wstring& request)
    {
        return Run(FunctionNumber::RegisterBiosEventNotification, request.c_str());
    }
    [[nodiscard]] Reply Unregister(const std::wstring& request)
    {
        return Run(FunctionNumber::UnregisterBiosWmiEventNotification, request.c_str());
    }

    // A register command of the fixture's session that waits when this returns.
    [[nodiscard]] std::unique_ptr<RegisterCall> StartRegistration(const std::wstring& request,
                                                                  RegisterCall::OnEvent onEvent = {});
    // Runs a register command on the calling thread and `meanwhile` on another one once it waits.
    // Where the module raises an exception, the run time keeps a block for the thread: not for a thread of a test.
    [[nodiscard]] Reply RegisterHere(const std::wstring& request, ProgressCallback callback,
                                     const std::function<void()>& meanwhile);

    // Ends the registration; returns its reply.
    Reply Stop(RegisterCall& registration);

    // Makes one registration that ends, so that the session has a subscription and nobody waits.
    void Subscribe(const std::wstring& request = AllEvents);

    // Lets every wait of a registration find its stop event set, so that the command returns on the calling thread.
    void LetRegistrationsEndAtOnce();

    EventSource events;
    Counter waits;                             // how often a registration began to wait
    std::atomic<unsigned long> callStatus = 0; // the client's, as the RPC run time gives it
    std::atomic<RPC_STATUS> callStatusResult = RPC_S_OK;
};

} // namespace Zv::Testing
