#include "Tests/Abi/Host/Module.h"

#include "Tests/Abi/Host/Check.h"

namespace Abi
{

namespace
{

const IMAGE_NT_HEADERS64& Headers(HMODULE module)
{
    auto* const base = reinterpret_cast<const unsigned char*>(module);
    return *reinterpret_cast<const IMAGE_NT_HEADERS64*>(base +
                                                        reinterpret_cast<const IMAGE_DOS_HEADER*>(module)->e_lfanew);
}

// The import table's entry of a function; null when the module does not import it.
void** FindImport(const char* dll, const char* name)
{
    auto* const base = reinterpret_cast<unsigned char*>(Module());
    const IMAGE_DATA_DIRECTORY& directory =
        Headers(Module()).OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    for (auto* from = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
         from->Name != 0; ++from)
    {
        if (lstrcmpiA(reinterpret_cast<const char*>(base + from->Name), dll) != 0)
        {
            continue;
        }
        auto* const names = reinterpret_cast<const ULONGLONG*>(base + from->OriginalFirstThunk);
        auto* const entries = reinterpret_cast<void**>(base + from->FirstThunk);
        for (int i = 0; names[i] != 0; ++i)
        {
            auto* const byName = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + names[i]);
            if (!IMAGE_SNAP_BY_ORDINAL64(names[i]) && lstrcmpA(byName->Name, name) == 0)
            {
                return entries + i;
            }
        }
    }
    return nullptr;
}

void Write(void** entry, void* value)
{
    DWORD protection = 0;
    VirtualProtect(entry, sizeof *entry, PAGE_READWRITE, &protection);
    *entry = value;
    VirtualProtect(entry, sizeof *entry, protection, &protection);
}

struct Block
{
    void* address;
    int freed;  // since it was last given out
    bool taken; // since the watch began
    bool held;
};

constexpr int MaxBlocks = 20000;
Block g_blocks[MaxBlocks];
int g_blockCount = 0;
CRITICAL_SECTION g_heapLock;
bool g_heapLockMade = false;

void* (*g_malloc)(size_t);
void* (*g_calloc)(size_t, size_t);
void* (*g_realloc)(void*, size_t);
void (*g_free)(void*);

class HeapGuard
{
public:
    HeapGuard() { EnterCriticalSection(&g_heapLock); }
    ~HeapGuard() { LeaveCriticalSection(&g_heapLock); }
};

Block& Find(void* address)
{
    for (int i = 0; i < g_blockCount; ++i)
    {
        if (g_blocks[i].address == address)
        {
            return g_blocks[i];
        }
    }
    if (g_blockCount == MaxBlocks)
    {
        CHECK(!"the watch holds too few blocks");
        ExitProcess(1);
    }
    g_blocks[g_blockCount] = {address, 0, false, false};
    return g_blocks[g_blockCount++];
}

void* Took(void* address)
{
    if (address != nullptr)
    {
        Block& block = Find(address);
        block.freed = 0; // the heap gives addresses out again
        block.taken = true;
        block.held = true;
    }
    return address;
}

void GaveBack(void* address)
{
    if (address != nullptr)
    {
        Block& block = Find(address);
        ++block.freed;
        block.held = false;
    }
}

void* WatchedMalloc(size_t size)
{
    const HeapGuard guard;
    return Took(g_malloc(size));
}

void* WatchedCalloc(size_t count, size_t size)
{
    const HeapGuard guard;
    return Took(g_calloc(count, size));
}

void* WatchedRealloc(void* block, size_t size)
{
    const HeapGuard guard;
    void* const moved = g_realloc(block, size);
    if (moved != nullptr || size == 0)
    {
        GaveBack(block);
    }
    return Took(moved);
}

void WatchedFree(void* block)
{
    const HeapGuard guard;
    GaveBack(block);
    g_free(block);
}

template <class Function>
void Keep(Function*& function, const ImportSwap& swap)
{
    function = reinterpret_cast<Function*>(swap.Original());
}

} // namespace

HMODULE Module()
{
    static HMODULE module = nullptr;
    if (module == nullptr)
    {
        wchar_t path[MAX_PATH];
        GetModuleFileNameW(nullptr, path, MAX_PATH);
        // build/<preset>/tests/<program>: the module lies in build/<preset>/bin
        for (int folders = 0; folders < 2; ++folders)
        {
            wchar_t* last = path;
            for (wchar_t* c = path; *c != L'\0'; ++c)
            {
                last = *c == L'\\' ? c : last;
            }
            *last = L'\0';
        }
        lstrcatW(path, L"\\bin\\WMIService.dll");
        module = LoadLibraryExW(path, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
        if (module == nullptr)
        {
            ReportFailure(__FILE__, __LINE__, "bin\\WMIService.dll", "cannot be loaded");
            ExitProcess(1);
        }
    }
    return module;
}

Service* CreateService()
{
    using Factory = Service*();
    auto* const create =
        reinterpret_cast<Factory*>(reinterpret_cast<void*>(GetProcAddress(Module(), "ZVCreateService")));
    if (create == nullptr)
    {
        ReportFailure(__FILE__, __LINE__, "ZVCreateService", "is not exported");
        ExitProcess(1);
    }
    return create();
}

bool IsModuleCode(const void* address)
{
    auto* const base = reinterpret_cast<const unsigned char*>(Module());
    auto* const at = static_cast<const unsigned char*>(address);
    const IMAGE_NT_HEADERS64& headers = Headers(Module());
    const IMAGE_SECTION_HEADER* const sections = IMAGE_FIRST_SECTION(&headers);
    for (int i = 0; i < headers.FileHeader.NumberOfSections; ++i)
    {
        const unsigned char* const start = base + sections[i].VirtualAddress;
        if (at >= start && at < start + sections[i].Misc.VirtualSize)
        {
            return (sections[i].Characteristics & IMAGE_SCN_MEM_EXECUTE) != 0;
        }
    }
    return false;
}

ImportSwap::ImportSwap(const char* dll, const char* name, void* replacement, int) : m_entry{FindImport(dll, name)}
{
    if (m_entry == nullptr)
    {
        ReportFailure(__FILE__, __LINE__, name, "is not imported by the module");
        ExitProcess(1);
    }
    m_original = *m_entry;
    Write(m_entry, replacement);
}

ImportSwap::~ImportSwap()
{
    Write(m_entry, m_original);
}

HeapWatch::HeapWatch()
    : m_malloc{"msvcrt.dll", "malloc", &WatchedMalloc},
      m_calloc{"msvcrt.dll", "calloc", &WatchedCalloc},
      m_realloc{"msvcrt.dll", "realloc", &WatchedRealloc},
      m_free{"msvcrt.dll", "free", &WatchedFree}
{
    if (!g_heapLockMade)
    {
        InitializeCriticalSection(&g_heapLock);
        g_heapLockMade = true;
    }
    g_blockCount = 0;
    Keep(g_malloc, m_malloc);
    Keep(g_calloc, m_calloc);
    Keep(g_realloc, m_realloc);
    Keep(g_free, m_free);
}

HeapWatch::~HeapWatch() = default;

int HeapWatch::TimesFreed(const void* block) const
{
    const HeapGuard guard;
    return Find(const_cast<void*>(block)).freed;
}

int HeapWatch::Outstanding() const
{
    const HeapGuard guard;
    int outstanding = 0;
    for (int i = 0; i < g_blockCount; ++i)
    {
        outstanding += g_blocks[i].taken && g_blocks[i].held ? 1 : 0;
    }
    return outstanding;
}

void HeapWatch::Free(void* block) const
{
    g_free(block);
}

Session::Session() : m_service{CreateService()}
{
    CHECK_EQUAL(0, m_service->StartSession(Text{L"abi-test-host"}, &m_handle));
}

Session::~Session()
{
    CHECK_EQUAL(0, m_service->EndSession(&m_handle));
    delete m_service;
}

void Remember(Counts& counts, const wchar_t* text)
{
    lstrcpynW(counts.lastText, text == nullptr ? L"null" : text, static_cast<int>(ARRAYSIZE(counts.lastText)));
}

} // namespace Abi
