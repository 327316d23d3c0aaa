#include "Tests/Events/EventTest.h"

#include "Platform/Windows/WindowsDeclarations.h"
#include "Tests/Support/Text.h"

namespace Zv::Testing
{

std::wstring Filter(int id)
{
    return Format(L"{\"filterEvent\":%d}", id);
}

std::wstring EventText(int id, int data)
{
    return Format(L"{\"eventId\":%d,\"eventData\":%d}", id, data);
}

std::wstring Result(int number)
{
    return Format(L"{\"result\":%d}", number);
}

EventTest::EventTest(std::chrono::milliseconds limit) : ModuleTest{limit}
{
    wmi->script[L"\\\\.\\root\\wmi"].events = &events;
    // Wine has no such function.
    calls->Replace<"RpcServerInqCallAttributesW", RPC_STATUS(RPC_BINDING_HANDLE, void*)>(
        [this](RPC_BINDING_HANDLE, void* attributes) {
            static_cast<RPC_CALL_ATTRIBUTES_V3_W*>(attributes)->CallStatus = callStatus;
            return callStatusResult.load();
        });
    plan.Before("WaitForMultipleObjects", [this](int) { waits.Add(); });
}

void EventTest::TearDown()
{
    if (session && session->Get() != nullptr)
    {
        plan.Clear();
        Shutdown(); // after the registrations
        ExpectComLeftByAnotherThread();
    }
    ModuleTest::TearDown();
}

HRESULT EventTest::Emit(ObjectScriptPtr event)
{
    const Tessel::Server::Shared::WMI::ComPtr<IWbemClassObject> object{wmi->NewObject(std::move(event))};
    IWbemClassObject* objects[] = {object.Get()};
    return events.Emit(1, objects);
}

std::unique_ptr<RegisterCall> EventTest::StartRegistration(const std::wstring& request, RegisterCall::OnEvent onEvent)
{
    const int before = waits.Count();
    auto registration = std::make_unique<RegisterCall>(service->Get(), session->Get(), request, std::move(onEvent));
    waits.WaitFor(before + 1);
    return registration;
}

Reply EventTest::RegisterHere(const std::wstring& request, ProgressCallback callback,
                              const std::function<void()>& meanwhile)
{
    const int before = waits.Count();
    std::thread other{[&] {
        waits.WaitFor(before + 1);
        meanwhile();
    }};
    constexpr auto function = static_cast<unsigned int>(FunctionNumber::RegisterBiosEventNotification);
    Reply reply = Testing::Run(service->Get(), session->Get(), function, request.c_str(), std::move(callback));
    other.join();
    return reply;
}

Reply EventTest::Stop(RegisterCall& registration)
{
    const Reply reply = Unregister(AllEvents);
    EXPECT_EQ(reply.code, 0);
    EXPECT_EQ(Narrow(reply.text), Narrow(Result(0)));
    return registration.End();
}

void EventTest::Subscribe(const std::wstring& request)
{
    const auto registration = StartRegistration(request);
    Stop(*registration);
}

void EventTest::LetRegistrationsEndAtOnce()
{
    calls->Replace<"WaitForMultipleObjects", decltype(WaitForMultipleObjects)>(
        [](DWORD, const HANDLE*, BOOL, DWORD) -> DWORD { return WAIT_OBJECT_0; });
}

} // namespace Zv::Testing
