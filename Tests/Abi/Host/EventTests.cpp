// The event registration: a command that blocks its thread and calls back for each event, whatever the callback does.

#include "Tests/Abi/Host/Check.h"
#include "Tests/Abi/Host/Exceptions.h"
#include "Tests/Abi/Host/FirmwareEvents.h"

using namespace Abi;

namespace
{

constexpr int GeneralFailure = 0x20000002;
constexpr DWORD Watchdog = 30000;
constexpr int MaxWarnings = 8;

struct LoggingData
{
    const wchar_t* message;
    const wchar_t* context;
    unsigned long long reserved;
};

struct Warning
{
    char className[96];
    char method[64];
    char text[64];
    wchar_t context[64];
};

Warning g_warnings[MaxWarnings];
int g_warningCount = 0;

// Logging::TraceLogger::LogWarning(LoggingData, ...): keeps the lines that have three narrow texts.
void KeepWarning(void*, const LoggingData* data, const char* className, const char* method, const char* text)
{
    if (g_warningCount < MaxWarnings && lstrcmpW(L"%S.%S - %S", data->message) == 0)
    {
        Warning& warning = g_warnings[g_warningCount++];
        lstrcpynA(warning.className, className, sizeof warning.className);
        lstrcpynA(warning.method, method, sizeof warning.method);
        lstrcpynA(warning.text, text, sizeof warning.text);
        lstrcpynW(warning.context, data->context, 64);
    }
}

void TurnLoggingOn()
{
    using SetProvider = bool(const wchar_t*);
    auto* const setProvider = reinterpret_cast<SetProvider*>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleA("Logging.dll"), "_ZN7Logging10LogManager11SetProviderEPKw")));
    CHECK(setProvider(L"Zv-Tessel-SystemInformation"));
}

// A registration on a thread of its own, as a host runs it.
template <class Behaviour>
class Registration
{
public:
    explicit Registration(Session& session, Behaviour behaviour) : m_session{session}, m_behaviour{behaviour}
    {
        m_thread = CreateThread(nullptr, 0, &Body, this, 0, nullptr);
    }
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

    // Returns the result code.
    int Join(const wchar_t* expectedResponse)
    {
        if (WaitForSingleObject(m_thread, Watchdog) != WAIT_OBJECT_0)
        {
            CHECK(!"the registration has not ended");
            ExitProcess(1);
        }
        CloseHandle(m_thread);
        CHECK_TEXT(expectedResponse, m_response);
        m_session.Host().FreeBuffer(m_response);
        return m_code;
    }

    Counts counts;

private:
    static DWORD WINAPI Body(void* argument)
    {
        auto& self = *static_cast<Registration*>(argument);
        self.m_code =
            self.m_session.Host().ExecuteCommand(self.m_session.Handle(), 4, Text{L"{}"}, &self.m_response,
                                                 MakeCallback<LargeSize>(self.counts, self.m_behaviour), nullptr);
        return 0;
    }

    Session& m_session;
    Behaviour m_behaviour;
    HANDLE m_thread;
    wchar_t* m_response = nullptr;
    int m_code = -1;
};

// Does something else in each call and says when it is called.
class Script
{
public:
    template <int Count>
    Script(void (*const (&steps)[Count])(), HANDLE called) : m_steps{steps},
                                                             m_called{called}
    {
    }

    void OnCopy() const {}

    void OnCall(wchar_t*)
    {
        SetEvent(m_called);
        m_steps[m_next++]();
    }

private:
    void (*const* m_steps)();
    HANDLE m_called;
    int m_next = 0;
};

void WaitForCall(HANDLE called)
{
    if (WaitForSingleObject(called, Watchdog) != WAIT_OBJECT_0)
    {
        CHECK(!"the callback was not called");
        ExitProcess(1);
    }
}

void Stop(Session& session)
{
    wchar_t* response = nullptr;
    CHECK_EQUAL(0, session.Host().ExecuteCommand(session.Handle(), 8, Text{L"{}"}, &response, {}, nullptr));
    CHECK_TEXT(L"{\"result\":0}", response);
    session.Host().FreeBuffer(response);
}

void Return() {}

} // namespace

ABI_TEST(Registration, CallsItsCopyOfTheCallbackForEachEventAndDestroysBothAtItsEnd)
{
    static constexpr void (*steps[])() = {&Return, &Return};
    FirmwareEvents firmware;
    const HANDLE called = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    {
        Session session;
        Registration registration{session, Script{steps, called}};

        firmware.Raise(20, 0xff0000);
        WaitForCall(called);
        firmware.Raise(-1, -2);
        WaitForCall(called);
        Stop(session);

        CHECK_EQUAL(0, registration.Join(L"{\"result\":0}"));
        CHECK_EQUAL(2, registration.counts.calls);
        CHECK_TEXT(LR"({"eventId":-1,"eventData":-2})", registration.counts.lastText);
        CHECK_EQUAL(1, registration.counts.copies);
        CHECK_EQUAL(2, registration.counts.freed);
        CHECK_EQUAL(0, registration.counts.alive);
        CHECK_EQUAL(0, registration.counts.wrongFlags);
    }
    CloseHandle(called);
}

ABI_TEST(Registration, LogsTheTextOfEveryStandardExceptionAndGoesOn)
{
    static constexpr void (*steps[])() = {&ThrowStandard,      &ThrowDisplaced, &ThrowVirtual,
                                          &CatchAndThrowAgain, &RaiseUnnamed,   &Return};
    static constexpr const char* texts[] = {"the host's pipe is broken", "displaced", "virtual",
                                            "the host's pipe is broken", "exception caught and thrown again"};
    constexpr int thrown = 5;
    FirmwareEvents firmware;
    const HANDLE called = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    Module();
    TurnLoggingOn();
    g_warningCount = 0;
    {
        const ImportSwap logWarning{"Logging.dll", "_ZN7Logging11TraceLogger10LogWarningENS_11LoggingDataEz",
                                    &KeepWarning};
        Session session;
        Registration registration{session, Script{steps, called}};

        for (int event = 1; event <= thrown + 1; ++event)
        {
            firmware.Raise(event, 0);
            WaitForCall(called);
        }
        Stop(session);

        CHECK_EQUAL(0, registration.Join(L"{\"result\":0}"));
        CHECK_EQUAL(thrown + 1, registration.counts.calls);
        CHECK_EQUAL(0, registration.counts.alive);
    }
    CHECK_EQUAL(thrown, g_warningCount);
    for (int i = 0; i < thrown; ++i)
    {
        CHECK_TEXT("class Zv::Tessel::Server::Services::WMI::WMIService", g_warnings[i].className);
        CHECK_TEXT("RegisterBiosEventNotification", g_warnings[i].method);
        CHECK_TEXT(texts[i], g_warnings[i].text);
        CHECK_TEXT(L"abi-test-host", g_warnings[i].context);
    }
    CHECK_EQUAL(0, g_exceptionsAlive);
    CHECK_EQUAL(0, g_destroyedTooEarly);
    CloseHandle(called);
}

ABI_TEST(Registration, EndsWithTheIntegerThatItsCallbackThrows)
{
    static constexpr void (*throws[])() = {&ThrowNumber};
    FirmwareEvents firmware;
    Session session;
    Registration registration{session, Script{throws, nullptr}};
    firmware.Raise(1, 0);
    CHECK_EQUAL(ThrownNumber, registration.Join(L"{}"));
    CHECK_EQUAL(0, registration.counts.alive);
    CHECK_EQUAL(0, Local::alive);
}

ABI_TEST(Registration, EndsWithAGeneralFailureWhenAnythingElseIsThrown)
{
    static constexpr void (*throws[])() = {&ThrowOther};
    static constexpr void (*returns[])() = {&Return};
    FirmwareEvents firmware;
    const HANDLE called = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    {
        Session session;
        Registration first{session, Script{throws, called}};
        firmware.Raise(1, 0);
        CHECK_EQUAL(GeneralFailure, first.Join(L"{}"));
        CHECK_EQUAL(0, first.counts.alive);
        CHECK_EQUAL(0, g_exceptionsAlive);

        // The session is as before: another registration can follow.
        WaitForCall(called);
        Registration second{session, Script{returns, called}};
        firmware.Raise(2, 0);
        WaitForCall(called);
        Stop(session);
        CHECK_EQUAL(0, second.Join(L"{\"result\":0}"));
    }
    CloseHandle(called);
}
