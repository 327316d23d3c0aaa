// Exceptions that a host's callback lets go: they end the command as any failure of it, whatever compiler built the
// module, and leave nothing behind.

#include "Tests/Abi/Host/Check.h"
#include "Tests/Abi/Host/Exceptions.h"
#include "Tests/Abi/Host/Module.h"

using namespace Abi;

namespace
{

constexpr int GeneralFailure = 0x20000002;

const wchar_t* const BiosText = LR"({"wmiClass":"Win32_BIOS","wmiNamespace":"ROOT\\CIMV2"})";

int RunObjectTexts(Session& session, ProgressCallback& callback, const wchar_t* expectedResponse)
{
    wchar_t* response = nullptr;
    const int code = session.Host().ExecuteCommand(session.Handle(), 256, Text{BiosText}, &response, callback, nullptr);
    CHECK_TEXT(expectedResponse, response);
    session.Host().FreeBuffer(response);
    return code;
}

// Function 256 with a callback that throws, in place and on the heap: the command fails, everything is destroyed once,
// and the same command works afterwards in the same session.
template <class Behaviour>
void EndsTheCommand(Behaviour behaviour)
{
    Session session;
    const HeapWatch heap;
    int before = 0;
    for (int run = 0; run < 3; ++run)
    {
        Counts inPlace;
        Counts onHeap;
        Counts wellBehaved;
        {
            ProgressCallback small = MakeCallback<SmallSize>(inPlace, behaviour);
            ProgressCallback large = MakeCallback<LargeSize>(onHeap, behaviour);
            ProgressCallback good = MakeCallback<SmallSize>(wellBehaved);

            CHECK_EQUAL(GeneralFailure, RunObjectTexts(session, small, L"{}"));
            CHECK_EQUAL(GeneralFailure, RunObjectTexts(session, large, L"{}"));
            CHECK_EQUAL(0, RunObjectTexts(session, good, L"{}"));
        }

        CHECK_EQUAL(0, inPlace.alive);
        CHECK_EQUAL(0, inPlace.wrongFlags);
        CHECK_EQUAL(0, onHeap.alive);
        CHECK_EQUAL(0, onHeap.wrongFlags);
        CHECK_EQUAL(1, wellBehaved.calls);
        CHECK_EQUAL(0, g_exceptionsAlive);
        CHECK_EQUAL(0, g_destroyedTooEarly);
        CHECK_EQUAL(0, Local::alive);
        if (run == 0)
        {
            before = heap.Outstanding(); // the first run makes things of the C++ run time that stay
        }
        CHECK_EQUAL(before, heap.Outstanding());
    }
}

} // namespace

ABI_TEST(CallbackThatThrows, AStandardException)
{
    EndsTheCommand(ThrowsInCall{&ThrowStandard});
}

ABI_TEST(CallbackThatThrows, AStandardExceptionThatIsNotTheFirstBase)
{
    EndsTheCommand(ThrowsInCall{&ThrowDisplaced});
}

ABI_TEST(CallbackThatThrows, AStandardExceptionThatIsAVirtualBase)
{
    EndsTheCommand(ThrowsInCall{&ThrowVirtual});
}

ABI_TEST(CallbackThatThrows, AClassOfItsOwn)
{
    EndsTheCommand(ThrowsInCall{&ThrowOther});
}

ABI_TEST(CallbackThatThrows, ANumber)
{
    EndsTheCommand(ThrowsInCall{&ThrowNumber});
}

ABI_TEST(CallbackThatThrows, APointer)
{
    EndsTheCommand(ThrowsInCall{&ThrowPointer});
}

ABI_TEST(CallbackThatThrows, WhatItHasCaughtBefore)
{
    EndsTheCommand(ThrowsInCall{&CatchAndThrowAgain});
}

ABI_TEST(CallbackThatThrows, WhatHasNoName)
{
    EndsTheCommand(ThrowsInCall{&RaiseUnnamed});
}

ABI_TEST(CallbackThatCannotBeCopied, EndsTheCommandWithNoCodeOfItsOwn)
{
    static constexpr unsigned int functions[] = {4, 256};
    Session session;
    for (const unsigned int function : functions)
    {
        Counts counts;
        wchar_t* response = nullptr;
        const int code =
            session.Host().ExecuteCommand(session.Handle(), function, Text{BiosText}, &response,
                                          MakeCallback<LargeSize>(counts, ThrowsInCopy{&ThrowNumber}), nullptr);
        CHECK_EQUAL(GeneralFailure, code);
        session.Host().FreeBuffer(response);
        CHECK_EQUAL(0, counts.alive);
    }
}

ABI_TEST(CallbackThatCannotBeCopied, EndsTheCommand)
{
    Session session;
    Counts counts;
    const ThrowsInCopy behaviour{&ThrowStandard};
    wchar_t* response = nullptr;

    const int code = session.Host().ExecuteCommand(session.Handle(), 256, Text{BiosText}, &response,
                                                   MakeCallback<LargeSize>(counts, behaviour), nullptr);

    CHECK_EQUAL(GeneralFailure, code);
    CHECK_TEXT(L"{}", response);
    session.Host().FreeBuffer(response);
    CHECK_EQUAL(0, counts.alive);
    CHECK_EQUAL(1, counts.copies);
    CHECK_EQUAL(0, counts.calls);
    CHECK_EQUAL(0, g_exceptionsAlive);
    CHECK_EQUAL(0, g_destroyedTooEarly);
}
