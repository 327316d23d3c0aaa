// The module under test as its host sees it, and what the tests watch it with.
#pragma once

#include "Tests/Abi/Host/ProgressCallback.h"

#include <windows.h>

#include <stddef.h>

namespace Abi
{

class RequestConfiguration;

// The service interface as a host declares it. The compiler gives the table its Microsoft layout: slot 0 is the
// deleting destructor, the others follow in the order of declaration.
class Service
{
public:
    virtual ~Service() = default;                                    // 0
    virtual int StartSession(wchar_t* clientId, void** session) = 0; // 1
    virtual int EndSession(void** session) = 0;                      // 2
    virtual int ExecuteCommand(void* session, unsigned int function, wchar_t* request, wchar_t** response,
                               ProgressCallback callback, RequestConfiguration* configuration) = 0; // 3
    virtual void FreeBuffer(void* buffer) = 0;                                                      // 4
    virtual void startup_task() = 0;                                                                // 5
    virtual void ReservedHook6() = 0;                                                               // 6
    virtual void ReservedHook7() = 0;                                                               // 7
    virtual bool ReservedQuery() = 0;                                                               // 8
    virtual void ReservedHook9() = 0;                                                               // 9
    virtual void ReservedHook10() = 0;                                                              // 10

    void* operator new(size_t) = delete;
    // The module frees its objects itself.
    void operator delete(void*) noexcept {}
};

// The same table as functions, for calls that the compiler would not make.
struct ServiceTable
{
    void* (*deletingDestructor)(Service*, unsigned int flags);
    int (*startSession)(Service*, wchar_t* clientId, void** session);
    int (*endSession)(Service*, void** session);
    int (*executeCommand)(Service*, void* session, unsigned int function, wchar_t* request, wchar_t** response,
                          ProgressCallback callback, RequestConfiguration* configuration);
    void (*freeBuffer)(Service*, void* buffer);
    void (*startupTask)(Service*);
    void (*reservedHook6)(Service*);
    void (*reservedHook7)(Service*);
    bool (*reservedQuery)(Service*);
    void (*reservedHook9)(Service*);
    void (*reservedHook10)(Service*);
};

static_assert(sizeof(ServiceTable) == 11 * 8);
static_assert(offsetof(ServiceTable, executeCommand) == 3 * 8 && offsetof(ServiceTable, reservedHook10) == 10 * 8);
static_assert(sizeof(Service) == 8);
static_assert(sizeof(wchar_t) == 2 && sizeof(unsigned int) == 4 && sizeof(bool) == 1);

// Loads WMIService.dll once per process.
HMODULE Module();
Service* CreateService();

inline const ServiceTable& TableOf(Service* service)
{
    return **reinterpret_cast<const ServiceTable* const*>(service);
}

// True for an address in a section of the module that holds code.
bool IsModuleCode(const void* address);

// Swaps one entry of the module's import table for as long as it lives.
class ImportSwap
{
public:
    template <class Function>
    ImportSwap(const char* dll, const char* name, Function* replacement)
        : ImportSwap{dll, name, reinterpret_cast<void*>(replacement), 0}
    {
    }
    ImportSwap(const ImportSwap&) = delete;
    ImportSwap& operator=(const ImportSwap&) = delete;
    ~ImportSwap();

    void* Original() const { return m_original; }

private:
    ImportSwap(const char* dll, const char* name, void* replacement, int);

    void** m_entry;
    void* m_original = nullptr;
};

// Watches the blocks that the module takes from and gives back to the C heap. One at a time.
class HeapWatch
{
public:
    HeapWatch();
    HeapWatch(const HeapWatch&) = delete;
    HeapWatch& operator=(const HeapWatch&) = delete;
    ~HeapWatch();

    // How often the block that the heap last gave out at this address was freed since the watch began.
    int TimesFreed(const void* block) const;
    // Blocks taken and not given back since the watch began.
    int Outstanding() const;
    // Gives a block back through the C runtime that the module uses, unseen by the watch.
    void Free(void* block) const;

private:
    ImportSwap m_malloc;
    ImportSwap m_calloc;
    ImportSwap m_realloc;
    ImportSwap m_free;
};

// A service with one open session.
class Session
{
public:
    Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session();

    Service& Host() { return *m_service; }
    void* Handle() { return m_handle; }

private:
    Service* m_service;
    void* m_handle = nullptr;
};

// Texts that the interface wants mutable.
class Text
{
public:
    explicit Text(const wchar_t* text) { lstrcpynW(m_text, text, 1024); }
    operator wchar_t*() { return m_text; }

private:
    wchar_t m_text[1024];
};

} // namespace Abi
