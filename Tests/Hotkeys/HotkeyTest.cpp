#include "Tests/Hotkeys/HotkeyTest.h"

#include "Logging/Logging.h"
#include "Platform/Windows/WindowsDeclarations.h"
#include "Tests/FakeLogging/FakeLogging.h"

#include <process.h>

#include <cwchar>

namespace Zv::Testing
{

namespace
{

using Tessel::Server::Shared::LockGuard;

HANDLE Duplicate(HANDLE handle)
{
    HANDLE duplicate = nullptr;
    DuplicateHandle(GetCurrentProcess(), handle, GetCurrentProcess(), &duplicate, 0, FALSE, DUPLICATE_SAME_ACCESS);
    return duplicate;
}

} // namespace

HotkeyTest::HotkeyTest() : m_watchdog{::testing::UnitTest::GetInstance()->current_test_info()->name()}
{
    Logging::LogManager::SetProvider(L"the host's");
    calls.emplace(module.Handle(), transcript, plan, ledgers);
    wmi.emplace(*calls, transcript, plan);
    user.emplace(*calls);
    // Wine has no such function.
    calls->Replace<"RpcServerInqCallAttributesW", RPC_STATUS(RPC_BINDING_HANDLE, void*)>(
        [](RPC_BINDING_HANDLE, void*) -> RPC_STATUS { return RPC_S_NO_CALL_ACTIVE; });
    WatchThreads();
    wmi->script[L"\\\\.\\root\\wmi"].events = &events;
    SetBoard(Value::Text(L"7C21"));
    service.reset(module.CreateService());
    transcript.Clear();
    plan.Clear();
}

HotkeyTest::~HotkeyTest()
{
    service.reset();
    user.reset();
    wmi.reset();
    calls.reset();
    for (const HANDLE thread : m_threads)
    {
        CloseHandle(thread);
    }
    for (const HANDLE event : m_stopEvents)
    {
        CloseHandle(event);
    }
    FakeLoggingForgetProvider();
}

void HotkeyTest::TearDown()
{
    plan.Clear();
    StopListeners();
    EXPECT_EQ(ledgers.threads.Running(), 0u);
    EXPECT_THAT(ledgers.handles.Held(), ::testing::Each(std::wstring{L"OpenEventW"})); // of the sinks
    EXPECT_EQ(ledgers.environments.Count(), 0u);
    EXPECT_EQ(ledgers.uuidTexts.Count(), 0u);
    EXPECT_EQ(ledgers.impersonations, 0);
    EXPECT_EQ(ledgers.accessedSafeArrays, 0);
}

void HotkeyTest::WatchThreads()
{
    calls->Replace<"CreateEventW", decltype(CreateEventW)>(
        [this](SECURITY_ATTRIBUTES* attributes, BOOL manual, BOOL initial, const wchar_t* name) {
            const HANDLE event =
                calls->Original<"CreateEventW", decltype(CreateEventW)>()(attributes, manual, initial, name);
            if (name != nullptr && std::wstring_view{name}.starts_with(L"zvtwe_"))
            {
                const LockGuard held{m_lock};
                m_stopEvents.push_back(Duplicate(event));
            }
            return event;
        });
    calls->Replace<"_beginthreadex", decltype(_beginthreadex)>(
        [this](void* security, unsigned int stackSize, unsigned int(__stdcall * body)(void*), void* argument,
               unsigned int flags, unsigned int* id) {
            const std::uintptr_t thread = calls->Original<"_beginthreadex", decltype(_beginthreadex)>()(
                security, stackSize, body, argument, flags, id);
            m_threads.push_back(Duplicate(reinterpret_cast<HANDLE>(thread)));
            return thread;
        });
}

void HotkeyTest::SetBoard(Value product)
{
    wmi->script[L"ROOT\\CIMV2"].instances[L"Win32_BaseBoard"] = {
        {Instance(L"Win32_BaseBoard", {{L"Product", std::move(product)}})}};
}

void HotkeyTest::Start()
{
    CallSlot<void>(service.get(), 5);
}

void HotkeyTest::StartAndWait(std::size_t subscriptions)
{
    Start();
    events.WaitForSubscriptions(subscriptions);
}

HRESULT HotkeyTest::Emit(ObjectScriptPtr event)
{
    const Tessel::Server::Shared::WMI::ComPtr<IWbemClassObject> object{wmi->NewObject(std::move(event))};
    IWbemClassObject* objects[] = {object.Get()};
    return events.Emit(1, objects);
}

std::vector<std::wstring> HotkeyTest::Log() const
{
    return transcript.Of({L"Info", L"Warning", L"Error"});
}

void HotkeyTest::StopListeners()
{
    for (const HANDLE thread : m_threads)
    {
        // A thread that has yet to make its stop event ends only after that.
        while (WaitForSingleObject(thread, 1) == WAIT_TIMEOUT)
        {
            const LockGuard held{m_lock};
            for (const HANDLE event : m_stopEvents)
            {
                SetEvent(event);
            }
        }
    }
}

} // namespace Zv::Testing
