// The few things that a Microsoft-built program gets from its statically linked start-up code: static construction,
// the heap operators, the type information's table, and the entry point. Throwing and catching is vcruntime140.dll's.

#include "Tests/Abi/Host/Check.h"

#include <windows.h>

#include <stddef.h>

void* operator new(size_t size)
{
    return HeapAlloc(GetProcessHeap(), HEAP_GENERATE_EXCEPTIONS, size);
}

void operator delete(void* memory) noexcept
{
    HeapFree(GetProcessHeap(), 0, memory);
}

void operator delete(void* memory, size_t) noexcept
{
    HeapFree(GetProcessHeap(), 0, memory);
}

// `const type_info::`vftable'`, to which every type descriptor points. Nobody calls through it.
extern const void* const TypeInfoTable[1] asm("??_7type_info@@6B@");
const void* const TypeInfoTable[1] = {};

// The compiler puts the addresses of its static constructors between these two.
#pragma section(".CRT$XCA", read)
#pragma section(".CRT$XCZ", read)
using StaticConstructor = void (*)();
__declspec(allocate(".CRT$XCA")) static const StaticConstructor FirstConstructor = nullptr;
__declspec(allocate(".CRT$XCZ")) static const StaticConstructor LastConstructor = nullptr;

extern "C" void HostMain()
{
    const volatile StaticConstructor* const last = &LastConstructor;
    for (const volatile StaticConstructor* constructor = &FirstConstructor; constructor != last; ++constructor)
    {
        if (const StaticConstructor run = *constructor)
        {
            run();
        }
    }
    ExitProcess(static_cast<UINT>(Abi::RunCases(GetCommandLineA())));
}
