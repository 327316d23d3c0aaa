// The service object and its table, slot by slot.

#include "Tests/Abi/Host/Check.h"
#include "Tests/Abi/Host/Module.h"

using namespace Abi;

namespace
{

// Calls a slot that takes nothing but the object, with the result register cleared, and returns what it holds
// afterwards: a function without a result leaves it alone or leaves something in it, never by rule a 1.
unsigned char CallQuery(const void* slot, Service* service)
{
    unsigned char result = 0;
    asm volatile("subq $32, %%rsp\n\t"
                 "xorl %%eax, %%eax\n\t"
                 "callq *%[slot]\n\t"
                 "addq $32, %%rsp"
                 : "=&a"(result), "+c"(service)
                 : [slot] "r"(slot)
                 : "rdx", "r8", "r9", "r10", "r11", "memory", "cc");
    return result;
}

const void* const* Slots(Service* service)
{
    return *reinterpret_cast<const void* const* const*>(service);
}

} // namespace

ABI_TEST(ServiceTable, HasElevenSlotsThatAreFunctionsOfTheModule)
{
    Service* const service = CreateService();

    const void* const* const slots = Slots(service);
    for (int i = 0; i < 11; ++i)
    {
        CHECK(IsModuleCode(slots[i]));
    }
    CHECK(!IsModuleCode(slots[11]));
    delete service;
}

ABI_TEST(ServiceTable, IsAtTheStartOfTheObject)
{
    Service* const service = CreateService();
    CHECK(!IsModuleCode(Slots(service)));
    CHECK(IsModuleCode(reinterpret_cast<const void*>(TableOf(service).deletingDestructor)));
    delete service;
}

ABI_TEST(Slot0, DestroysFreesAndReturnsTheAddressWhenBit0OfTheFlagsIsSet)
{
    const HeapWatch heap;
    Service* const service = CreateService();
    CHECK(heap.Outstanding() > 0);

    CHECK_EQUAL(service, TableOf(service).deletingDestructor(service, 1));

    CHECK_EQUAL(1, heap.TimesFreed(service));
    CHECK_EQUAL(0, heap.Outstanding());
}

ABI_TEST(Slot0, OnlyDestroysAndReturnsTheAddressWhenBit0OfTheFlagsIsClear)
{
    constexpr unsigned int bit0Clear[] = {0, 0xfffffffe};
    for (const unsigned int flags : bit0Clear)
    {
        const HeapWatch heap;
        Service* const service = CreateService();

        CHECK_EQUAL(service, TableOf(service).deletingDestructor(service, flags));

        CHECK_EQUAL(0, heap.TimesFreed(service));
        CHECK_EQUAL(1, heap.Outstanding()); // the object's memory; its list has gone
        heap.Free(service);
    }
}

ABI_TEST(Slot0, IsWhatADeleteExpressionOfAHostCalls)
{
    const HeapWatch heap;
    Service* const service = CreateService();

    delete service;

    CHECK_EQUAL(1, heap.TimesFreed(service));
    CHECK_EQUAL(0, heap.Outstanding());
}

ABI_TEST(Slots1And2, OpenAndEndASession)
{
    const HeapWatch heap;
    Service* const service = CreateService();
    const int before = heap.Outstanding();
    void* session = nullptr;

    CHECK_EQUAL(0, TableOf(service).startSession(service, Text{L"client"}, &session));
    CHECK(session != nullptr);
    CHECK(heap.Outstanding() > before);
    void* const handle = session;
    CHECK_EQUAL(0, TableOf(service).endSession(service, &session));

    CHECK_EQUAL(handle, session); // not cleared
    CHECK_EQUAL(1, heap.TimesFreed(handle));
    CHECK_EQUAL(before, heap.Outstanding());
    delete service;
}

ABI_TEST(Slots1And2, IgnoreANullSessionPointer)
{
    const HeapWatch heap;
    Service* const service = CreateService();
    const int before = heap.Outstanding();

    CHECK_EQUAL(0, TableOf(service).startSession(service, Text{L"client"}, nullptr));
    CHECK_EQUAL(0, TableOf(service).endSession(service, nullptr));

    CHECK_EQUAL(before, heap.Outstanding());
    delete service;
}

ABI_TEST(Slot3, RunsACommandAndSlot4GivesItsResponseBack)
{
    const HeapWatch heap;
    Session session;
    const int before = heap.Outstanding();
    wchar_t* response = nullptr;

    const int code = TableOf(&session.Host())
                         .executeCommand(&session.Host(), session.Handle(), 8, Text{L"{}"}, &response, {}, nullptr);

    CHECK_EQUAL(0, code);
    CHECK_TEXT(L"{\"result\":2}", response);
    CHECK_EQUAL(before + 1, heap.Outstanding());
    TableOf(&session.Host()).freeBuffer(&session.Host(), response);
    CHECK_EQUAL(1, heap.TimesFreed(response));
    CHECK_EQUAL(before, heap.Outstanding());
}

ABI_TEST(Slot4, IgnoresNull)
{
    const HeapWatch heap;
    Service* const service = CreateService();
    TableOf(service).freeBuffer(service, nullptr);
    CHECK_EQUAL(0, heap.TimesFreed(nullptr));
    delete service;
}

ABI_TEST(Slot5, ArmsTheLaunchersAndReturnsNormally)
{
    // The launchers ask for the logger first. No package is ever started here: no event arrives, and the listening
    // threads end with the process.
    static long asked = 0;
    const ImportSwap getLogger{"Logging.dll", "_ZN7Logging10LogManager9GetLoggerEv", +[]() -> void* {
                                   InterlockedIncrement(&asked);
                                   return nullptr;
                               }};
    Service* const service = CreateService();
    const long before = asked;

    TableOf(service).startupTask(service);

    CHECK(asked > before);
}

ABI_TEST(Slots6To10, DoNothingButAnswerTrueAtSlot8)
{
    const HeapWatch heap;
    Service* const service = CreateService();
    const int before = heap.Outstanding();

    constexpr int hooks[] = {6, 7, 9, 10};
    for (const int slot : hooks)
    {
        CHECK_EQUAL(0, CallQuery(Slots(service)[slot], service));
    }
    CHECK_EQUAL(1, CallQuery(Slots(service)[8], service));

    CHECK_EQUAL(before, heap.Outstanding());
    delete service;
}
