// A subscription and the threads that come and go around it.
#include "Tests/Races/SimulatedModule.h"
#include "Tests/Support/Watchdog.h"

#include <gtest/gtest.h>

#include <objbase.h>

#include <thread>

namespace Zv::Testing
{

namespace
{

// The test's thread is no member of an apartment, and there is none.
class Apartment : public ::testing::Test, protected SimulatedModule
{
protected:
    Apartment()
    {
        CoUninitialize();
        calls.Replace<"CoCreateInstance", decltype(CoCreateInstance)>(
            [this](REFCLSID id, IUnknown* outer, DWORD context, REFIID iid, void** object) {
                return machine.CreateInstance(id, outer, context, iid, object);
            });
        calls.Replace<"RpcServerInqCallAttributesW", RPC_STATUS(RPC_BINDING_HANDLE, void*)>(
            [](RPC_BINDING_HANDLE, void*) -> RPC_STATUS { return RPC_S_NO_CALL_ACTIVE; });
    }

    ~Apartment() override { CoInitializeEx(nullptr, COINIT_MULTITHREADED); }

    [[nodiscard]] static bool Exists()
    {
        APTTYPE type{};
        APTTYPEQUALIFIER qualifier{};
        return SUCCEEDED(CoGetApartmentType(&type, &qualifier));
    }

    // Function 4 on a thread that a pool has for it and takes away again. The callback ends it at its first event.
    [[nodiscard]] std::vector<std::wstring> RelayOneEvent(const Session& session, int data)
    {
        const int before = plan.Calls("WaitForMultipleObjects");
        std::vector<std::wstring> events;
        std::thread registration{[&] {
            const auto onEvent = [&](wchar_t* text) {
                events.emplace_back(text);
                Command(session, FunctionNumber::UnregisterBiosWmiEventNotification);
            };
            Command(session, FunctionNumber::RegisterBiosEventNotification, ProgressCallback{onEvent});
        }};
        while (plan.Calls("WaitForMultipleObjects") == before)
        {
            Sleep(1);
        }
        machine.FireEvent(20, data);
        registration.join();
        return events;
    }

    void Command(const Session& session, FunctionNumber function, ProgressCallback callback = {})
    {
        EXPECT_EQ(Testing::Run(service.Get(), session.Get(), static_cast<unsigned int>(function),
                               L"{\"filterEvent\":0}", std::move(callback))
                      .code,
                  0);
    }

    const Watchdog watchdog{"Apartment"};
};

TEST_F(Apartment, OfASubscriptionOutlivesTheThreadThatSetItUp)
{
    ASSERT_FALSE(Exists()) << "no thread but those of the registrations";
    {
        Session session{service.Get(), L"a client of a thread pool"};

        EXPECT_EQ(RelayOneEvent(session, 1), std::vector<std::wstring>{L"{\"eventId\":20,\"eventData\":1}"});
        EXPECT_TRUE(Exists()) << "though nobody is in it";
        EXPECT_EQ(RelayOneEvent(session, 2), std::vector<std::wstring>{L"{\"eventId\":20,\"eventData\":2}"});
    }
    EXPECT_FALSE(Exists());
    ledgers.comJoins.Offset(); // the thread that had joined is gone, and by contract the end of the session leaves COM
    ExpectNothingLeft();
}

} // namespace

} // namespace Zv::Testing
