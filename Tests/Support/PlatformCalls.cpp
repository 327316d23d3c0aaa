#include "Tests/Support/PlatformCalls.h"

#include <objbase.h>
#include <oleauto.h>
#include <process.h>
#include <rpc.h>
#include <userenv.h>
#include <wincrypt.h>

#include <cstdint>
#include <cstdlib>

namespace Zv::Testing
{

PlatformCalls::PlatformCalls(HMODULE module, Transcript& transcript, FaultPlan& plan, Ledgers& ledgers)
    : m_imports{module},
      m_context{transcript, plan, ledgers}
{
    WatchCom();
    WatchAutomation();
    WatchKernel();
    WatchTokensAndProcesses();
    WatchThreadsAndEnvironments();
    WatchCryptographyAndRpc();
    WatchHeap();
}

PlatformCalls::~PlatformCalls()
{
    m_redirections.clear();
    for (void (*const reset)() : m_reset)
    {
        reset();
    }
}

void PlatformCalls::WatchHeap()
{
    static constexpr auto Note = [](std::size_t size) { return std::to_wstring(size) + L" bytes"; };

    Watch<"malloc", void*(std::size_t)>(Traced::No).taken = [](Ledgers& ledgers, void* block, std::size_t size) {
        if (block != nullptr)
        {
            ledgers.heap.Taken(block, Note(size));
        }
    };
    Watch<"calloc", void*(std::size_t, std::size_t)>(Traced::No).taken = [](Ledgers& ledgers, void* block,
                                                                            std::size_t count, std::size_t size) {
        if (block != nullptr)
        {
            ledgers.heap.Taken(block, Note(count * size));
        }
    };
    auto& reallocation = Watch<"realloc", void*(void*, std::size_t)>(Traced::No);
    reallocation.given = [](Ledgers& ledgers, void* block, std::size_t) { ledgers.heap.Given(block); };
    reallocation.taken = [](Ledgers& ledgers, void* block, void* former, std::size_t size) {
        void* const held = block != nullptr || size == 0 ? block : former; // a failed call leaves the block
        if (held != nullptr)
        {
            ledgers.heap.Taken(held, Note(size));
        }
    };
    Watch<"free", void(void*)>(Traced::No).given = [](Ledgers& ledgers, void* block) { ledgers.heap.Given(block); };
    Watch<"_strdup", char*(const char*)>(Traced::No).taken = [](Ledgers& ledgers, char* block, const char*) {
        if (block != nullptr)
        {
            ledgers.heap.Taken(block, L"a text of _strdup");
        }
    };
    Watch<"HeapAlloc", decltype(HeapAlloc)>(Traced::No).taken = [](Ledgers& ledgers, void* block, HANDLE, DWORD,
                                                                   std::size_t size) {
        if (block != nullptr)
        {
            ledgers.heap.Taken(block, Note(size));
        }
    };
    Watch<"HeapFree", decltype(HeapFree)>(Traced::No).given = [](Ledgers& ledgers, HANDLE, DWORD, void* block) {
        ledgers.heap.Given(block);
    };
}

void PlatformCalls::WatchCom()
{
    Watch<"CoInitializeEx", decltype(CoInitializeEx)>(Traced::Yes).taken = [](Ledgers& ledgers, HRESULT hr, void*,
                                                                              DWORD) {
        if (SUCCEEDED(hr))
        {
            ledgers.comJoins.Joined();
        }
    };
    Watch<"CoUninitialize", decltype(CoUninitialize)>(Traced::Yes).given = [](Ledgers& ledgers) {
        ledgers.comJoins.Left();
    };
    Watch<"CoIncrementMTAUsage", decltype(CoIncrementMTAUsage)>(Traced::Yes).taken = [](Ledgers& ledgers, HRESULT hr,
                                                                                        CO_MTA_USAGE_COOKIE* cookie) {
        if (SUCCEEDED(hr))
        {
            ledgers.mtaUsages.Taken(*cookie, L"CoIncrementMTAUsage");
        }
    };
    Watch<"CoDecrementMTAUsage", decltype(CoDecrementMTAUsage)>(Traced::Yes).given =
        [](Ledgers& ledgers, CO_MTA_USAGE_COOKIE cookie) { ledgers.mtaUsages.Given(cookie); };
    Watch<"CoInitializeSecurity", decltype(CoInitializeSecurity)>(Traced::Yes);
    Watch<"CoCreateInstance", decltype(CoCreateInstance)>(Traced::Yes);
    Watch<"CoSetProxyBlanket", decltype(CoSetProxyBlanket)>(Traced::Yes);
}

void PlatformCalls::WatchAutomation()
{
    Watch<"SysAllocString", decltype(SysAllocString)>(Traced::No);
    Watch<"SysAllocStringLen", decltype(SysAllocStringLen)>(Traced::No);
    Watch<"SysFreeString", decltype(SysFreeString)>(Traced::No);
    Watch<"VariantClear", decltype(VariantClear)>(Traced::No);
    Watch<"VariantChangeType", decltype(VariantChangeType)>(Traced::No);
    Watch<"SafeArrayCreateVector", decltype(SafeArrayCreateVector)>(Traced::No);
    Watch<"SafeArrayDestroy", decltype(SafeArrayDestroy)>(Traced::No);
    Watch<"SafeArrayPutElement", decltype(SafeArrayPutElement)>(Traced::No);
    Watch<"SafeArrayGetElement", decltype(SafeArrayGetElement)>(Traced::No);
    Watch<"SafeArrayGetLBound", decltype(SafeArrayGetLBound)>(Traced::No);
    Watch<"SafeArrayGetUBound", decltype(SafeArrayGetUBound)>(Traced::No);
    Watch<"SafeArrayAccessData", decltype(SafeArrayAccessData)>(Traced::No).taken =
        [](Ledgers& ledgers, HRESULT hr, SAFEARRAY*, void**) { ledgers.accessedSafeArrays += SUCCEEDED(hr) ? 1 : 0; };
    Watch<"SafeArrayUnaccessData", decltype(SafeArrayUnaccessData)>(Traced::No).given =
        [](Ledgers& ledgers, SAFEARRAY*) { --ledgers.accessedSafeArrays; };
}

void PlatformCalls::WatchKernel()
{
    static constexpr auto Opened = [](Ledgers& ledgers, HANDLE handle, const wchar_t* what) {
        if (handle != nullptr && handle != INVALID_HANDLE_VALUE)
        {
            ledgers.handles.Taken(handle, what);
        }
    };

    Watch<"CreateEventW", decltype(CreateEventW)>(Traced::Yes).taken =
        [](Ledgers& ledgers, HANDLE handle, SECURITY_ATTRIBUTES*, BOOL, BOOL, const wchar_t*) {
            Opened(ledgers, handle, L"CreateEventW");
        };
    Watch<"OpenEventW", decltype(OpenEventW)>(Traced::Yes).taken =
        [](Ledgers& ledgers, HANDLE handle, DWORD, BOOL, const wchar_t*) { Opened(ledgers, handle, L"OpenEventW"); };
    Watch<"SetEvent", decltype(SetEvent)>(Traced::Yes);
    Watch<"ResetEvent", decltype(ResetEvent)>(Traced::Yes);
    Watch<"WaitForMultipleObjects", decltype(WaitForMultipleObjects)>(Traced::Yes);
    Watch<"WaitForSingleObject", decltype(WaitForSingleObject)>(Traced::No);
    Watch<"CloseHandle", decltype(CloseHandle)>(Traced::Yes).given = [](Ledgers& ledgers, HANDLE handle) {
        ledgers.handles.Given(handle);
    };
    Watch<"OutputDebugStringW", decltype(OutputDebugStringW)>(Traced::Yes);
}

void PlatformCalls::WatchTokensAndProcesses()
{
    static constexpr auto Opened = [](Ledgers& ledgers, bool done, HANDLE handle, const wchar_t* what) {
        if (done && handle != nullptr && handle != INVALID_HANDLE_VALUE)
        {
            ledgers.handles.Taken(handle, what);
        }
    };

    Watch<"WTSQueryUserToken", BOOL(ULONG, HANDLE*)>(Traced::Yes).taken = [](Ledgers& ledgers, BOOL done, ULONG,
                                                                             HANDLE* token) {
        Opened(ledgers, done, done ? *token : nullptr, L"WTSQueryUserToken");
    };
    Watch<"DuplicateTokenEx", decltype(DuplicateTokenEx)>(Traced::Yes).taken =
        [](Ledgers& ledgers, BOOL done, HANDLE, DWORD, SECURITY_ATTRIBUTES*, SECURITY_IMPERSONATION_LEVEL, TOKEN_TYPE,
           HANDLE* token) { Opened(ledgers, done, done ? *token : nullptr, L"DuplicateTokenEx"); };
    Watch<"CreateProcessAsUserW", decltype(CreateProcessAsUserW)>(Traced::Yes).taken =
        [](Ledgers& ledgers, BOOL done, HANDLE, const wchar_t*, wchar_t*, SECURITY_ATTRIBUTES*, SECURITY_ATTRIBUTES*,
           BOOL, DWORD, void*, const wchar_t*, STARTUPINFOW*, PROCESS_INFORMATION* process) {
            if (done)
            {
                Opened(ledgers, true, process->hProcess, L"process of CreateProcessAsUserW");
                Opened(ledgers, true, process->hThread, L"thread of CreateProcessAsUserW");
            }
        };
    Watch<"ImpersonateLoggedOnUser", decltype(ImpersonateLoggedOnUser)>(Traced::Yes).taken =
        [](Ledgers& ledgers, BOOL done, HANDLE) { ledgers.impersonations += done ? 1 : 0; };
    Watch<"RevertToSelf", decltype(RevertToSelf)>(Traced::Yes).taken = [](Ledgers& ledgers, BOOL done) {
        ledgers.impersonations -= done ? 1 : 0;
    };
}

void PlatformCalls::WatchThreadsAndEnvironments()
{
    Watch<"_beginthreadex", decltype(_beginthreadex)>(Traced::No).taken =
        [](Ledgers& ledgers, std::uintptr_t thread, void*, unsigned int, unsigned int(__stdcall*)(void*), void*,
           unsigned int, unsigned int*) {
            if (thread != 0)
            {
                // Declared as an integer, and a handle. NOLINTNEXTLINE(performance-no-int-to-ptr)
                const auto handle = reinterpret_cast<HANDLE>(thread);
                ledgers.handles.Taken(handle, L"_beginthreadex");
                ledgers.threads.Started(handle);
            }
        };
    Watch<"CreateEnvironmentBlock", decltype(CreateEnvironmentBlock)>(Traced::Yes).taken =
        [](Ledgers& ledgers, BOOL done, void** block, HANDLE, BOOL) {
            if (done)
            {
                ledgers.environments.Taken(*block, L"CreateEnvironmentBlock");
            }
        };
    Watch<"DestroyEnvironmentBlock", decltype(DestroyEnvironmentBlock)>(Traced::Yes).given =
        [](Ledgers& ledgers, void* block) { ledgers.environments.Given(block); };
}

void PlatformCalls::WatchCryptographyAndRpc()
{
    Watch<"CryptStringToBinaryW", decltype(CryptStringToBinaryW)>(Traced::Yes);
    Watch<"CryptBinaryToStringW", decltype(CryptBinaryToStringW)>(Traced::Yes);
    Watch<"UuidCreate", decltype(UuidCreate)>(Traced::Yes);
    Watch<"UuidToStringW", decltype(UuidToStringW)>(Traced::Yes).taken = [](Ledgers& ledgers, RPC_STATUS status,
                                                                            const UUID*, RPC_WSTR* text) {
        if (status == RPC_S_OK)
        {
            ledgers.uuidTexts.Taken(*text, L"UuidToStringW");
        }
    };
    Watch<"RpcStringFreeW", decltype(RpcStringFreeW)>(Traced::Yes).given = [](Ledgers& ledgers, RPC_WSTR* text) {
        ledgers.uuidTexts.Given(*text);
    };
}

} // namespace Zv::Testing
