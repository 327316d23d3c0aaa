// The progress callback: copied when a command passes it on, destroyed exactly once by every call.

#include "Tests/Abi/Host/Check.h"
#include "Tests/Abi/Host/Module.h"

using namespace Abi;

namespace
{

constexpr int UnsupportedFunction = 0x20000001;
constexpr int GeneralFailure = 0x20000002;
constexpr int RequestMalformed = 0x20000016;

const wchar_t* const BiosText = LR"({"wmiClass":"Win32_BIOS","wmiNamespace":"ROOT\\CIMV2"})";

// What a call of ExecuteCommand is made with, but for its callback.
struct Arguments
{
    bool session = true;
    unsigned int function = 8;
    const wchar_t* request = L"{}";
    bool responseSlot = true;
};

// What a host sees of it.
struct Outcome
{
    int code;
    wchar_t response[256]; // "untouched" and "null" where there is none
    int leftOnHeap;        // blocks that the call took and did not give back
};

template <class Make>
Outcome Run(const Arguments& arguments, const Make& makeCallback)
{
    const HeapWatch heap;
    Session session;
    const int before = heap.Outstanding();
    const Text request{arguments.request == nullptr ? L"" : arguments.request};
    wchar_t untouched[] = L"untouched";
    wchar_t* response = untouched;
    Outcome outcome{};

    // The callback is made as the argument itself, as for any parameter that is passed by value.
    outcome.code = session.Host().ExecuteCommand(
        arguments.session ? session.Handle() : nullptr, arguments.function,
        arguments.request == nullptr ? nullptr : static_cast<wchar_t*>(const_cast<Text&>(request)),
        arguments.responseSlot ? &response : nullptr, makeCallback(), nullptr);

    lstrcpynW(outcome.response, response == nullptr ? L"null" : response, 256);
    if (response != untouched)
    {
        session.Host().FreeBuffer(response);
        CHECK_EQUAL(response == nullptr ? 0 : 1, heap.TimesFreed(response));
    }
    outcome.leftOnHeap = heap.Outstanding() - before;
    return outcome;
}

// Makes the call with a callback whose target lies in place, with one whose target lies on the heap, and with an
// empty one. `copies` is how often the command copies it.
void DestroysTheCallbackOnce(const Arguments& arguments, int copies, int code, const wchar_t* response)
{
    // The first call in a process or thread makes things of the C++ run time that stay.
    Run(arguments, [] { return ProgressCallback{}; });

    Counts inPlace;
    const Outcome first = Run(arguments, [&] { return MakeCallback<SmallSize>(inPlace); });
    CHECK_EQUAL(code, first.code);
    CHECK_TEXT(response, first.response);
    CHECK_EQUAL(0, first.leftOnHeap);
    CHECK_EQUAL(0, inPlace.alive);
    CHECK_EQUAL(copies, inPlace.copies);
    CHECK_EQUAL(1 + inPlace.copies + inPlace.moves, inPlace.destroyed);
    CHECK_EQUAL(0, inPlace.freed);
    CHECK_EQUAL(0, inPlace.wrongFlags);

    Counts onHeap;
    const Outcome second = Run(arguments, [&] { return MakeCallback<LargeSize>(onHeap); });
    CHECK_EQUAL(code, second.code);
    CHECK_TEXT(response, second.response);
    CHECK_EQUAL(0, second.leftOnHeap);
    CHECK_EQUAL(0, onHeap.alive);
    CHECK_EQUAL(copies, onHeap.copies);
    CHECK_EQUAL(0, onHeap.moves); // its owner changes, not its place
    CHECK_EQUAL(1 + copies, onHeap.destroyed);
    CHECK_EQUAL(1 + copies, onHeap.freed);
    CHECK_EQUAL(0, onHeap.wrongFlags);
    CHECK_EQUAL(inPlace.calls, onHeap.calls);

    const Outcome third = Run(arguments, [] { return ProgressCallback{}; });
    CHECK_EQUAL(code, third.code);
    CHECK_TEXT(response, third.response);
    CHECK_EQUAL(0, third.leftOnHeap);
}

} // namespace

ABI_TEST(CallbackDestruction, OfASuccessfulCommand)
{
    DestroysTheCallbackOnce({}, 0, 0, L"{\"result\":2}");
}

ABI_TEST(CallbackDestruction, OfACallWithoutASession)
{
    DestroysTheCallbackOnce({.session = false}, 0, GeneralFailure, L"untouched");
}

ABI_TEST(CallbackDestruction, OfACallWithoutARequest)
{
    DestroysTheCallbackOnce({.request = nullptr}, 0, GeneralFailure, L"untouched");
}

ABI_TEST(CallbackDestruction, OfACallWithoutAResponseSlot)
{
    DestroysTheCallbackOnce({.responseSlot = false}, 0, GeneralFailure, L"untouched");
}

ABI_TEST(CallbackDestruction, OfACallWithNeitherRequestNorResponseSlot)
{
    DestroysTheCallbackOnce({.request = nullptr, .responseSlot = false}, 0, GeneralFailure, L"untouched");
}

ABI_TEST(CallbackDestruction, OfMalformedJson)
{
    DestroysTheCallbackOnce({.function = 2, .request = L"{"}, 0, RequestMalformed, L"null");
    DestroysTheCallbackOnce({.function = 256, .request = L""}, 0, RequestMalformed, L"null");
}

ABI_TEST(CallbackDestruction, OfMalformedJsonThatTheFunctionTolerates)
{
    DestroysTheCallbackOnce({.function = 8, .request = L"{"}, 0, 0, L"{\"result\":2}");
}

ABI_TEST(CallbackDestruction, OfAnUnsupportedFunction)
{
    constexpr unsigned int functions[] = {0, 1, 3, 255, 257, 0xffffffff};
    for (const unsigned int function : functions)
    {
        DestroysTheCallbackOnce({.function = function}, 0, UnsupportedFunction, L"{}");
    }
}

ABI_TEST(CallbackDestruction, OfARequestThatItsCommandRefuses)
{
    DestroysTheCallbackOnce({.function = 2}, 0, 0x20000003, L"{}");
    DestroysTheCallbackOnce({.function = 16}, 0, 0x2000000c, L"{}");
    DestroysTheCallbackOnce({.function = 32}, 0, 0x2000000c, L"{}");
    DestroysTheCallbackOnce({.function = 64}, 0, 0x20000014, L"{}");
    DestroysTheCallbackOnce({.function = 256}, 1, 0x2000000e, L"{}");
}

ABI_TEST(CallbackDestruction, OfACommandThatWmiRefuses)
{
    DestroysTheCallbackOnce({.function = 128}, 0, 0x20000012, L"{}"); // no such namespace on this machine
}

ABI_TEST(CallbackDestruction, OfAnEventRegistrationThatFails)
{
    const ImportSwap noWmi{"ole32.dll", "CoCreateInstance",
                           +[](const GUID&, void*, DWORD, const GUID&, void**) -> HRESULT { return E_FAIL; }};
    DestroysTheCallbackOnce({.function = 4}, 1, GeneralFailure, L"{}");
}

ABI_TEST(CallbackDestruction, OfObjectTexts)
{
    DestroysTheCallbackOnce({.function = 256, .request = BiosText}, 1, 0, L"{}");
}

ABI_TEST(CallbackCalls, CarryTheTextOfEachObject)
{
    Counts inPlace;
    Run({.function = 256, .request = BiosText}, [&] { return MakeCallback<SmallSize>(inPlace); });
    CHECK_EQUAL(1, inPlace.calls);
    CHECK(inPlace.lastText[0] != L'\0' && lstrcmpW(L"null", inPlace.lastText) != 0);

    Counts onHeap;
    Run({.function = 256, .request = BiosText}, [&] { return MakeCallback<LargeSize>(onHeap); });
    CHECK_EQUAL(1, onHeap.calls);
    CHECK_TEXT(inPlace.lastText, onHeap.lastText);
}
