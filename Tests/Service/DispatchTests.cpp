// The steps of ExecuteCommand up to the handler, and what it answers when it goes no further.

#include "Interception/ModuleExports.h"
#include "Services/WMI/WMIServiceContext.h"
#include "Tests/Support/ModuleTest.h"

namespace
{

using namespace Zv::Testing;
using Zv::Tessel::Server::Services::WMI::WMIServiceContext;

class Dispatch : public ModuleTest
{
protected:
    Dispatch() { Zv::Interception::BindModuleExports(module.Handle()); }

    int Execute(void* handle, unsigned int function, wchar_t* request, wchar_t** response)
    {
        return ExecuteRaw(service->Get(), handle, function, request, response, CountingCallback::Empty().data());
    }
};

TEST_F(Dispatch, WithoutASessionFailsSilently)
{
    wchar_t untouched[] = L"untouched";
    wchar_t* response = untouched;
    wchar_t request[] = L"{}";

    EXPECT_EQ(Execute(nullptr, 3, request, &response), 0x20000002);

    EXPECT_EQ(response, untouched);
    EXPECT_TRUE(transcript.All().empty());
}

TEST_F(Dispatch, WithoutASessionFailsSilentlyWhateverElseIsNull)
{
    EXPECT_EQ(Execute(nullptr, 3, nullptr, nullptr), 0x20000002);

    EXPECT_TRUE(transcript.All().empty());
}

TEST_F(Dispatch, WithoutARequestNamesItAndTouchesNothing)
{
    wchar_t untouched[] = L"untouched";
    wchar_t* response = untouched;

    EXPECT_EQ(Execute(session->Get(), 16, nullptr, &response), 0x20000002);

    EXPECT_EQ(response, untouched);
    EXPECT_EQ(Log(), std::vector{CannotBeNull(UtilHelperClass, "NullChecker", "message")});
}

TEST_F(Dispatch, WithoutAPlaceForTheResponseNamesIt)
{
    wchar_t request[] = L"{}";

    EXPECT_EQ(Execute(session->Get(), 16, request, nullptr), 0x20000002);

    EXPECT_EQ(Log(), std::vector{CannotBeNull(UtilHelperClass, "NullChecker", "outString")});
}

TEST_F(Dispatch, NamesEachNullArgumentInOrder)
{
    EXPECT_EQ(Execute(session->Get(), 16, nullptr, nullptr), 0x20000002);

    EXPECT_EQ(Log(), (std::vector{CannotBeNull(UtilHelperClass, "NullChecker", "message"),
                                  CannotBeNull(UtilHelperClass, "NullChecker", "outString")}));
}

TEST_F(Dispatch, ChecksForNullBeforeItLooksAtTheFunction)
{
    EXPECT_EQ(Execute(session->Get(), 3, nullptr, nullptr), 0x20000002);
}

TEST_F(Dispatch, HoldsAReferenceOnTheSessionWhileTheCommandRuns)
{
    wmi->script[L"ns"].instances[L"C"] = {{Instance(L"C", {}, L"text")}};
    auto* const context = static_cast<WMIServiceContext*>(session->Get());
    unsigned long during = 0;

    Zv::Testing::Run(service->Get(), session->Get(), 256, LR"({"wmiClass":"C","wmiNamespace":"ns"})",
                     ProgressCallback{[&](wchar_t*) {
                         during = context->AddRef() - 1;
                         context->Release(false);
                     }});

    EXPECT_EQ(during, 2u);
    EXPECT_EQ(context->AddRef(), 2u);
    EXPECT_EQ(context->Release(false), 1u);
}

TEST_F(Dispatch, GivesItsReferenceBackOnEveryEarlyWayOut)
{
    auto* const context = static_cast<WMIServiceContext*>(session->Get());
    Execute(session->Get(), 16, nullptr, nullptr);
    Run(16, L"not JSON");
    Run(3, L"{}");

    EXPECT_EQ(context->AddRef(), 2u);
    EXPECT_EQ(context->Release(false), 1u);
}

class DispatchOfMalformedText : public Dispatch, public ::testing::WithParamInterface<unsigned int>
{
};

TEST_P(DispatchOfMalformedText, IsRefusedSilentlyWithANullResponse)
{
    for (const wchar_t* const request : {L"", L" ", L"{", L"}", L"{\"a\":}", L"{} x", L"nul", L"'a'", L"{\"a\":1,}"})
    {
        const Reply reply = Run(GetParam(), request);

        EXPECT_EQ(reply.code, 0x20000016) << Narrow(request);
        EXPECT_EQ(reply.slot, Reply::Slot::Null) << Narrow(request);
    }
    EXPECT_TRUE(transcript.All().empty());
}

// The unsupported ones too: the text is parsed before the function is looked at.
INSTANTIATE_TEST_SUITE_P(EveryOtherFunction, DispatchOfMalformedText,
                         ::testing::Values(2u, 4u, 16u, 32u, 64u, 128u, 256u, 0u, 1u, 3u, 257u));

TEST_F(Dispatch, RunsFunction8WhateverItsRequestSays)
{
    for (const wchar_t* const request : {L"", L"{", L"nonsense", L"null", L"5", L"{}", L"[]"})
    {
        const Reply reply = Run(8, request);

        EXPECT_EQ(reply.code, 0) << Narrow(request);
        EXPECT_EQ(reply.text, LR"({"result":2})") << Narrow(request); // nothing waits
    }
}

class DispatchOfUnsupported : public Dispatch, public ::testing::WithParamInterface<unsigned int>
{
};

TEST_P(DispatchOfUnsupported, FunctionsIsLoggedAsAnErrorAndAnsweredWithAnEmptyObject)
{
    const Reply reply = Run(GetParam(), L"{}");

    EXPECT_EQ(reply.code, 0x20000001);
    EXPECT_EQ(reply.slot, Reply::Slot::Text);
    EXPECT_EQ(reply.text, L"{}");
    EXPECT_EQ(Log(), std::vector{Error(L"%S.%S - Unsupported Function call %d", WmiServiceClass, "ExecuteCommand",
                                       GetParam())});
}

INSTANTIATE_TEST_SUITE_P(BelowBetweenAndAbove, DispatchOfUnsupported,
                         ::testing::Values(0u, 1u, 3u, 5u, 6u, 7u, 9u, 15u, 17u, 31u, 33u, 63u, 65u, 127u, 129u, 255u,
                                           257u, 258u, 512u, 0x7fffffffu, 0x80000000u, 0x80000002u, 0xffffffffu));

TEST_F(Dispatch, AcceptsAnyValidJsonForAnUnsupportedFunction)
{
    for (const wchar_t* const request : {L"null", L"[]", L"1", L"\"text\"", L" { } "})
    {
        EXPECT_EQ(Run(3, request).code, 0x20000001) << Narrow(request);
    }
}

TEST_F(Dispatch, RoutesEachFunctionToItsHandler)
{
    // Each handler refuses an empty object with a code of its own, or answers as only it does.
    EXPECT_EQ(Run(FunctionNumber::ExecuteBiosWmiCommand, L"{}").code, 0x20000003);
    EXPECT_EQ(Run(FunctionNumber::RegisterBiosEventNotification, LR"({"filterEvent":"x"})").code, 0x20000013);
    EXPECT_EQ(Run(FunctionNumber::UnregisterBiosWmiEventNotification, L"{}").text, LR"({"result":2})");
    EXPECT_EQ(Run(FunctionNumber::GetWmiPropertyValue, L"{}").code, 0x2000000c);
    EXPECT_EQ(Run(FunctionNumber::GetWmiPropertyValues, L"{}").code, 0x2000000c);
    EXPECT_EQ(Run(FunctionNumber::SetBiosSetting, L"{}").code, 0x20000014);
    EXPECT_EQ(Run(FunctionNumber::SetBiosSystemDefaults, L"{}").code, 0x20000012);
    EXPECT_EQ(Run(FunctionNumber::GetWmiClassObjectText, L"{}").code, 0x2000000e);
}

TEST_F(Dispatch, AnswersAFailingHandlersCommandWithWhatTheResponseHolds)
{
    const Reply reply = Run(16, L"{}");

    EXPECT_EQ(reply.code, 0x2000000c);
    EXPECT_EQ(reply.slot, Reply::Slot::Text);
    EXPECT_EQ(reply.text, L"{}");
}

TEST_F(Dispatch, RunsManyCommandsAtOnceOnOneSession)
{
    static constexpr int Threads = 4;
    static constexpr int Commands = 200;
    struct Work
    {
        ZVService* service;
        void* session;
        std::atomic<int> right = 0;
    } work{service->Get(), session->Get()};

    HANDLE threads[Threads];
    for (HANDLE& thread : threads)
    {
        thread = CreateThread(
            nullptr, 0,
            [](void* state) -> DWORD {
                Work& shared = *static_cast<Work*>(state);
                for (int command = 0; command < Commands; ++command)
                {
                    const Reply reply = Zv::Testing::Run(shared.service, shared.session, 8, L"{}");
                    shared.right += reply.code == 0 && reply.text == LR"({"result":2})" ? 1 : 0;
                }
                return 0;
            },
            &work, 0, nullptr);
    }
    WaitForMultipleObjects(Threads, threads, TRUE, INFINITE);
    for (const HANDLE thread : threads)
    {
        CloseHandle(thread);
    }

    EXPECT_EQ(work.right, Threads * Commands);
}

} // namespace
