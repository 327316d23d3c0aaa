// The factory and the object it makes, driven by slot position as a host does.

#include "Interception/ModuleExports.h"
#include "Services/WMI/WMIService.h"
#include "Tests/Support/ModuleTest.h"
#include "Tests/Support/ThisBuild.h"

#include <psapi.h>

#include <cstdint>

namespace
{

using namespace Zv::Testing;

class ServiceObject : public ModuleTest
{
protected:
    [[nodiscard]] static void** Table(void* object) { return *static_cast<void***>(object); }

    [[nodiscard]] bool LiesInModule(const void* address) const
    {
        const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(module.Handle());
        const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(
            reinterpret_cast<const std::byte*>(module.Handle()) + dos->e_lfanew);
        const auto offset =
            static_cast<const std::byte*>(address) - reinterpret_cast<const std::byte*>(module.Handle());
        return offset > 0 && offset < static_cast<std::ptrdiff_t>(headers->OptionalHeader.SizeOfImage);
    }
};

TEST_F(ServiceObject, HasATableOfElevenFunctionsOfTheModule)
{
    for (std::size_t slot = 0; slot < 11; ++slot)
    {
        EXPECT_TRUE(LiesInModule(Table(service->Get())[slot])) << "slot " << slot;
    }
}

TEST_F(ServiceObject, IsFreedBySlotZeroWhenBitZeroOfTheFlagsIsSet)
{
    const std::size_t before = ledgers.heap.Count();
    void* const object = module.CreateService();
    EXPECT_GT(ledgers.heap.Count(), before);

    EXPECT_EQ(CallSlot<void*>(object, 0, 1u), object);

    EXPECT_EQ(ledgers.heap.Count(), before);
}

TEST_F(ServiceObject, IsOnlyDestroyedBySlotZeroWhenBitZeroOfTheFlagsIsClear)
{
    const std::size_t before = ledgers.heap.Count();
    void* const object = module.CreateService();

    EXPECT_EQ(CallSlot<void*>(object, 0, 0u), object);

    EXPECT_EQ(ledgers.heap.Count(), before + 1) << "the object itself, without its list";
    CallSlot<void>(service->Get(), 4, object);
}

TEST_F(ServiceObject, IsANewOneAtEachCallOfTheFactory)
{
    const Service second{module};

    EXPECT_NE(second.Get(), service->Get());
}

TEST_F(ServiceObject, HoldsLoggerClassNameAndListInThisOrder)
{
    void** const fields = reinterpret_cast<void**>(service->Get());

    EXPECT_EQ(fields[1], Logging::LogManager::GetLogger());
    EXPECT_STREQ(static_cast<const char*>(fields[2]), WmiServiceClass);
    const auto* const first = static_cast<const std::uint32_t*>(fields[3]);
    EXPECT_EQ(static_cast<const std::uint32_t*>(fields[4]), first + 1) << "one entry";
    EXPECT_EQ(*first, 8u);
}

TEST_F(ServiceObject, FreesABufferThroughSlotFour)
{
    wchar_t request[] = L"{}";
    wchar_t* response = nullptr;
    ExecuteRaw(service->Get(), session->Get(), 3, request, &response, CountingCallback::Empty().data());
    ASSERT_NE(response, nullptr);
    const std::size_t before = ledgers.heap.Count();

    CallSlot<void>(service->Get(), 4, response);

    EXPECT_EQ(ledgers.heap.Count(), before - 1);
}

TEST_F(ServiceObject, IgnoresANullBuffer)
{
    CallSlot<void>(service->Get(), 4, nullptr);

    EXPECT_TRUE(Log().empty());
}

TEST_F(ServiceObject, AnswersTheReservedQueryWithTrueAlways)
{
    EXPECT_TRUE(CallSlot<bool>(service->Get(), 8));
    EXPECT_TRUE(CallSlot<bool>(service->Get(), 8));
}

TEST_F(ServiceObject, DoesNothingInItsReservedHooks)
{
    for (const std::size_t slot : {6u, 7u, 9u, 10u})
    {
        CallSlot<void>(service->Get(), slot);
    }

    EXPECT_TRUE(transcript.All().empty());
    EXPECT_TRUE(plan.Sites().empty()) << "a call of the platform";
}

TEST_F(ServiceObject, LogsNothingWhenThereWasNoLoggerAtItsCreation)
{
    FakeLoggingForgetProvider();
    const Service silent{module};
    EXPECT_EQ(reinterpret_cast<void**>(silent.Get())[1], nullptr);
    Logging::LogManager::SetProvider(L"set later");

    const Reply reply = Zv::Testing::Run(silent.Get(), session->Get(), 3, L"{}");

    EXPECT_EQ(reply.code, 0x20000001);
    EXPECT_TRUE(Log().empty());
}

TEST_F(ServiceObject, WorksWithoutAnyLogger)
{
    FakeLoggingForgetProvider();
    const Service silent{module};

    for (const unsigned int function : {2u, 3u, 8u, 16u, 32u, 64u, 128u, 256u})
    {
        const Reply reply = Zv::Testing::Run(silent.Get(), session->Get(), function, LR"({"command":"x"})");
        EXPECT_EQ(reply.slot, Reply::Slot::Text) << function;
    }
    EXPECT_TRUE(Log().empty());
}

TEST_F(ServiceObject, CopiesShareLoggerAndClassNameAndHaveAListOfTheirOwn)
{
    using Zv::Tessel::Server::Services::WMI::WMIService;
    Zv::Interception::BindModuleExports(module.Handle());
    alignas(WMIService) std::byte memory[sizeof(WMIService)];

    void* const copy = ::new (memory) WMIService{*static_cast<const WMIService*>(service->Get())};

    void** const original = reinterpret_cast<void**>(service->Get());
    void** const fields = static_cast<void**>(copy);
    EXPECT_EQ(fields[1], original[1]);
    EXPECT_EQ(fields[2], original[2]);
    EXPECT_NE(fields[3], original[3]);
    Shutdown();
    service.emplace(module);
    session.emplace(service->Get(), ClientId);
    EXPECT_EQ(Zv::Testing::Run(static_cast<ZVService*>(copy), session->Get(), 8, L"no JSON").code, 0)
        << "its own list still tolerates function 8";
    CallSlot<void*>(copy, 0, 0u);
}

TEST_F(ServiceObject, IsNotMadeWhenMemoryRunsOut)
{
    for (int call = 1; call <= 2; ++call)
    {
        plan.Clear();
        Fail("malloc", Fault::Nth(call, 0));
        EXPECT_THROW(static_cast<void>(module.CreateService()), std::bad_alloc) << "allocation " << call;
        ASSERT_EQ(plan.Calls("malloc"), call + ThisBuild::BlocksOfAnException) << "the failed one and the exception";
        ForgetException();
    }
}

TEST_F(ServiceObject, LivesInALibraryThatTurnsThreadNotificationsOff)
{
    EXPECT_TRUE(calls->Imports("DisableThreadLibraryCalls"));
}

} // namespace
