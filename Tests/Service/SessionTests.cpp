// Slots 1 and 2.

#include "Interception/ModuleExports.h"
#include "Services/WMI/WMIServiceContext.h"
#include "Tests/Support/ModuleTest.h"

#include <cstdint>
#include <cstdlib>

namespace
{

using namespace Zv::Testing;
using Zv::Tessel::Server::Services::WMI::WMIServiceContext;

class Sessions : public ModuleTest
{
protected:
    Sessions() { Zv::Interception::BindModuleExports(module.Handle()); }

    // A response code's worth of a command that logs one line with the session's client id.
    [[nodiscard]] std::wstring ClientIdOf(void* handle)
    {
        transcript.Clear();
        Zv::Testing::Run(service->Get(), handle, 3, L"{}");
        return Log().empty() ? L"" : Log().front().context.value_or(L"null");
    }

    std::wstring m_id = L"another client";
};

TEST_F(Sessions, AreNotMadeWithoutAPlaceForTheHandle)
{
    EXPECT_EQ(CallSlot<int>(service->Get(), 1, m_id.data(), static_cast<void**>(nullptr)), 0);

    EXPECT_TRUE(plan.Sites().empty()) << "something was made all the same";
}

TEST_F(Sessions, StartWithTheHostsReferenceOnly)
{
    void* handle = nullptr;
    EXPECT_EQ(CallSlot<int>(service->Get(), 1, m_id.data(), &handle), 0);
    ASSERT_NE(handle, nullptr);

    auto* const context = static_cast<WMIServiceContext*>(handle);
    EXPECT_EQ(context->AddRef(), 2u);
    EXPECT_EQ(context->Release(false), 1u);
    EXPECT_EQ(CallSlot<int>(service->Get(), 2, &handle), 0);
}

TEST_F(Sessions, CopyTheClientId)
{
    void* handle = nullptr;
    CallSlot<int>(service->Get(), 1, m_id.data(), &handle);
    m_id = L"overwritten!!!";

    EXPECT_EQ(ClientIdOf(handle), L"another client");

    CallSlot<int>(service->Get(), 2, &handle);
}

TEST_F(Sessions, TakeAClientIdOf64CharactersWhole)
{
    const std::wstring id = std::wstring(63, L'x') + L'y';
    const Session longest{service->Get(), id};

    EXPECT_EQ(ClientIdOf(longest.Get()), id);
}

TEST_F(Sessions, TakeAnEmptyClientId)
{
    const Session nameless{service->Get(), L""};

    EXPECT_EQ(ClientIdOf(nameless.Get()), L"");
}

TEST_F(Sessions, AreFreedWhenTheyEnd)
{
    const std::size_t before = ledgers.heap.Count();
    void* handle = nullptr;
    CallSlot<int>(service->Get(), 1, m_id.data(), &handle);
    EXPECT_GT(ledgers.heap.Count(), before);

    EXPECT_EQ(CallSlot<int>(service->Get(), 2, &handle), 0);

    EXPECT_EQ(ledgers.heap.Count(), before);
}

TEST_F(Sessions, LeaveTheHostsHandleAsItIsWhenTheyEnd)
{
    void* handle = nullptr;
    CallSlot<int>(service->Get(), 1, m_id.data(), &handle);
    void* const before = handle;

    CallSlot<int>(service->Get(), 2, &handle);

    EXPECT_EQ(handle, before);
}

TEST_F(Sessions, EndingNoneIsAccepted)
{
    EXPECT_EQ(CallSlot<int>(service->Get(), 2, static_cast<void**>(nullptr)), 0);
}

TEST_F(Sessions, EndedDuringACommandLiveUntilTheCommandEnds)
{
    wmi->script[L"ns"].instances[L"C"] = {{Instance(L"C", {}, L"text")}, E_FAIL};
    const std::size_t before = ledgers.heap.Count();
    void* handle = nullptr;
    CallSlot<int>(service->Get(), 1, m_id.data(), &handle);
    std::size_t freed = 0;

    const Reply reply = Zv::Testing::Run(service->Get(), handle, 256, LR"({"wmiClass":"C","wmiNamespace":"ns"})",
                                         ProgressCallback{[&](wchar_t*) {
                                             const std::size_t held = ledgers.heap.Count();
                                             CallSlot<int>(service->Get(), 2, &handle);
                                             freed = held - ledgers.heap.Count();
                                         }});

    EXPECT_EQ(reply.code, 0);
    EXPECT_EQ(freed, 0u) << "the session went under the running command";
    EXPECT_EQ(Log().back().context, m_id) << "the client id was still there after the end";
    EXPECT_EQ(ledgers.heap.Count(), before) << "the command's own release frees it";
}

TEST_F(Sessions, EndedWhileACommandEndsAreFreedOnceByOneOfThem)
{
    static constexpr int Rounds = 500;
    wmi->script[L"ns"].instances[L"C"] = {{Instance(L"C", {}, L"text")}};
    struct Race
    {
        ZVService* service;
        void* handle = nullptr;
        HANDLE commandIsInside = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    } race{service->Get()};
    const std::size_t before = ledgers.heap.Count();

    for (int round = 0; round < Rounds; ++round)
    {
        CallSlot<int>(service->Get(), 1, m_id.data(), &race.handle);
        const HANDLE thread = CreateThread(
            nullptr, 0,
            [](void* state) -> DWORD {
                Race& shared = *static_cast<Race*>(state);
                Zv::Testing::Run(shared.service, shared.handle, 256, LR"({"wmiClass":"C","wmiNamespace":"ns"})",
                                 ProgressCallback{[&](wchar_t*) { SetEvent(shared.commandIsInside); }});
                return 0;
            },
            &race, 0, nullptr);
        WaitForSingleObject(race.commandIsInside, INFINITE);
        CallSlot<int>(service->Get(), 2, &race.handle);
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
    }

    CloseHandle(race.commandIsInside);
    EXPECT_EQ(ledgers.heap.Count(), before);
}

TEST_F(Sessions, EndedWithoutAWaitingRegistrationSignalNothing)
{
    void* handle = nullptr;
    CallSlot<int>(service->Get(), 1, m_id.data(), &handle);
    CallSlot<int>(service->Get(), 2, &handle);

    EXPECT_EQ(plan.Calls("SetEvent"), 0);
    EXPECT_EQ(plan.Calls("CloseHandle"), 0);
}

TEST_F(Sessions, FailToStartLeavingNothingWhenMemoryRunsOut)
{
    Session counted{service->Get()};
    const int allocations = plan.Calls("malloc");
    ASSERT_GE(allocations, 4) << "context, client id, two names";

    for (int call = 1; call <= allocations; ++call)
    {
        plan.Clear();
        Fail("malloc", Fault::Nth(call, 0));
        const std::size_t before = ledgers.heap.Count();
        void* handle = nullptr;
        EXPECT_THROW(CallSlot<int>(service->Get(), 1, m_id.data(), &handle), std::bad_alloc) << "allocation " << call;
        EXPECT_EQ(handle, nullptr);
        ForgetException();
        EXPECT_EQ(ledgers.heap.Count(), before) << "allocation " << call;
        EXPECT_EQ(ledgers.uuidTexts.Count(), 0u) << "allocation " << call;
    }
}

using SessionsDeathTest = Sessions;

constexpr unsigned int InvalidParameter = 0xC0000417; // STATUS_INVALID_CRUNTIME_PARAMETER

TEST_F(SessionsDeathTest, WithoutAClientIdEndTheProcess)
{
    void* handle = nullptr;
    EXPECT_EXIT(CallSlot<int>(service->Get(), 1, static_cast<wchar_t*>(nullptr), &handle),
                ::testing::ExitedWithCode(static_cast<int>(InvalidParameter)), "");
}

TEST_F(SessionsDeathTest, WithAClientIdOf65CharactersEndTheProcess)
{
    void* handle = nullptr;
    std::wstring id(65, L'x');
    EXPECT_EXIT(CallSlot<int>(service->Get(), 1, id.data(), &handle),
                ::testing::ExitedWithCode(static_cast<int>(InvalidParameter)), "");
}

TEST_F(SessionsDeathTest, GoOnWithoutAnIdWhenAHandlerOfTheHostsReturnsIfTheModuleSharesItsRunTime)
{
#if defined(_MSC_VER)
    constexpr int ends = 0;
#else
    constexpr int ends = static_cast<int>(InvalidParameter);
#endif
    const auto goOn = [](const wchar_t*, const wchar_t*, const wchar_t*, unsigned int, std::uintptr_t) {};
    std::wstring id(65, L'x');
    const auto run = [&] {
        _set_invalid_parameter_handler(goOn);
        void* handle = nullptr;
        CallSlot<int>(service->Get(), 1, id.data(), &handle);
        std::_Exit(handle != nullptr ? 0 : 1);
    };
    EXPECT_EXIT(run(), ::testing::ExitedWithCode(ends), "");
}

} // namespace
