// The exported members of the session context.

#include "Interception/ModuleExports.h"
#include "Services/WMI/WMIServiceContext.h"
#include "Tests/Support/ModuleTest.h"

#include <rpc.h>

#include <memory>

namespace
{

using namespace Zv::Testing;
using Zv::Tessel::Server::Services::WMI::WMIServiceContext;

class Context : public ModuleTest
{
protected:
    Context() { Zv::Interception::BindModuleExports(module.Handle()); }

    // Made by the module, as StartSession makes it, without the host's reference.
    [[nodiscard]] WMIServiceContext* Make()
    {
        void* handle = nullptr;
        service->Get()->StartSession(m_id, &handle);
        auto* const context = static_cast<WMIServiceContext*>(handle);
        context->AddRef();
        context->Release(false);
        return context;
    }

    // The UUIDs of the sessions to come: 00000001-…, 00000002-… in the order in which they are asked for.
    void NumberUuids()
    {
        calls->Replace<"UuidCreate", decltype(UuidCreate)>([this](UUID* uuid) -> RPC_STATUS {
            *uuid = {++m_lastUuid, 0, 0, {}};
            return RPC_S_OK;
        });
    }

    // The names of the events that a registration on the session asks for, in the order of the calls. It fails right
    // after: there is no firmware.
    [[nodiscard]] std::vector<std::wstring> EventNames(void* handle)
    {
        std::vector<std::wstring> names;
        calls->Replace<"CreateEventW", decltype(CreateEventW)>(
            [&names](SECURITY_ATTRIBUTES* attributes, BOOL manual, BOOL set, const wchar_t* name) {
                names.emplace_back(name != nullptr ? name : L"");
                return CreateEventW(attributes, manual, set, name);
            });
        Zv::Testing::Run(service->Get(), handle, 4, L"{}");
        calls->Replace<"CreateEventW", decltype(CreateEventW)>({});
        return names;
    }

    wchar_t m_id[12] = L"a client id";

private:
    unsigned long m_lastUuid = 0;
};

TEST_F(Context, CountsFromZero)
{
    WMIServiceContext context{m_id};

    EXPECT_EQ(context.AddRef(), 1u);
    EXPECT_EQ(context.AddRef(), 2u);
    EXPECT_EQ(context.Release(false), 1u);
}

TEST_F(Context, IsFreedWithItsLastReference)
{
    const std::size_t before = ledgers.heap.Count();
    WMIServiceContext* const context = Make();

    EXPECT_EQ(context->Release(false), 0u);

    EXPECT_EQ(ledgers.heap.Count(), before);
}

TEST_F(Context, ReleasedWithASignalButWithoutAWaiterOnlyCountsDown)
{
    WMIServiceContext* const context = Make();
    context->AddRef();

    EXPECT_EQ(context->Release(true), 1u);
    EXPECT_EQ(plan.Calls("SetEvent"), 0);
    EXPECT_EQ(context->Release(true), 0u);
    EXPECT_EQ(plan.Calls("SetEvent"), 0);
}

TEST_F(Context, WithoutEventsClearsItsListenerWithSuccess)
{
    WMIServiceContext context{m_id};

    EXPECT_TRUE(context.ClearListener());
    EXPECT_TRUE(context.ClearListener());
    EXPECT_EQ(plan.Calls("CloseHandle"), 0);
}

TEST_F(Context, NamesTheWaitEventFirstAndTheCallbackEventSecond)
{
    NumberUuids();
    const Session numbered{service->Get()};

    EXPECT_EQ(EventNames(numbered.Get()), (std::vector<std::wstring>{L"zvtwe_00000001-0000-0000-0000-000000000000",
                                                                     L"zvttcb_00000002-0000-0000-0000-000000000000"}));
}

TEST_F(Context, NamesItsEventsDifferentlyInEachSession)
{
    const Session other{service->Get()};
    const std::vector<std::wstring> first = EventNames(session->Get());
    const std::vector<std::wstring> second = EventNames(other.Get());

    ASSERT_EQ(first.size(), 2u);
    ASSERT_EQ(second.size(), 2u);
    EXPECT_EQ(first[0].size(), wcslen(L"zvtwe_") + 36);
    EXPECT_EQ(first[1].size(), wcslen(L"zvttcb_") + 36);
    EXPECT_NE(first[0], second[0]);
    EXPECT_NE(first[1], second[1]);
    EXPECT_NE(first[0].substr(6), first[1].substr(7));
}

TEST_F(Context, KeepsItsEventNamesFromRegistrationToRegistration)
{
    EXPECT_EQ(EventNames(session->Get()), EventNames(session->Get()));
}

TEST_F(Context, GivesTheTextsOfItsUuidsBack)
{
    WMIServiceContext context{m_id};

    EXPECT_EQ(
        transcript.Of({L"Uuid", L"RpcStringFree"}),
        (std::vector<std::wstring>{L"UuidCreate(ptr) = 0x00000000", L"UuidToStringW(ptr, ptr) = 0x00000000",
                                   L"RpcStringFreeW(ptr) = 0x00000000", L"UuidCreate(ptr) = 0x00000000",
                                   L"UuidToStringW(ptr, ptr) = 0x00000000", L"RpcStringFreeW(ptr) = 0x00000000"}));
    EXPECT_EQ(ledgers.uuidTexts.Count(), 0u);
}

TEST_F(Context, CanBeMadeWithoutAClientId)
{
    WMIServiceContext context;
    context.AddRef();
    context.AddRef(); // so that the command does not free what lies on the stack

    Zv::Testing::Run(service->Get(), &context, 3, L"{}");

    ASSERT_EQ(Log().size(), 1u);
    EXPECT_EQ(Log().front().context, std::nullopt);
    EXPECT_EQ(context.Release(false), 1u);
}

} // namespace
