#include "Tests/Support/Ledgers.h"

#include <objbase.h>

#include <algorithm>
#include <numeric>
#include <stdexcept>
#include <utility>

namespace Zv::Testing
{

using Tessel::Server::Shared::LockGuard;

void Ledger::Taken(const void* thing, std::wstring note)
{
    const LockGuard guard{m_lock};
    m_things[thing] = {++m_order, std::move(note)};
}

void Ledger::Given(const void* thing)
{
    const LockGuard guard{m_lock};
    m_things.erase(thing);
}

void Ledger::ForgetIf(const std::function<bool(const void* thing)>& isGone)
{
    const LockGuard guard{m_lock};
    std::erase_if(m_things, [&isGone](const auto& thing) { return isGone(thing.first); });
}

std::size_t Ledger::Count() const
{
    const LockGuard guard{m_lock};
    return m_things.size();
}

std::vector<std::wstring> Ledger::Held() const
{
    std::vector<Entry> entries;
    {
        const LockGuard guard{m_lock};
        for (const auto& [thing, entry] : m_things)
        {
            entries.push_back(entry);
        }
    }
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.order < b.order; });
    std::vector<std::wstring> notes;
    for (Entry& entry : entries)
    {
        notes.push_back(std::move(entry.note));
    }
    return notes;
}

Threads::~Threads()
{
    for (const HANDLE thread : m_threads)
    {
        CloseHandle(thread);
    }
}

void Threads::Started(HANDLE thread)
{
    HANDLE duplicate = nullptr;
    DuplicateHandle(GetCurrentProcess(), thread, GetCurrentProcess(), &duplicate, SYNCHRONIZE, FALSE, 0);
    const LockGuard guard{m_lock};
    m_threads.push_back(duplicate);
}

std::size_t Threads::Running() const
{
    const LockGuard guard{m_lock};
    return static_cast<std::size_t>(
        std::ranges::count_if(m_threads, [](HANDLE thread) { return WaitForSingleObject(thread, 0) == WAIT_TIMEOUT; }));
}

namespace
{

// Windows gives the number of a thread that has ended to another one.
unsigned int NumberOfThisThread()
{
    static std::atomic<unsigned int> threads = 0;
    thread_local const unsigned int number = ++threads;
    return number;
}

} // namespace

void ComJoins::Add(int joins)
{
    const LockGuard guard{m_lock};
    m_accounts[NumberOfThisThread()] += joins;
}

int ComJoins::OfThisThread() const
{
    const LockGuard guard{m_lock};
    const auto account = m_accounts.find(NumberOfThisThread());
    return account == m_accounts.end() ? 0 : account->second;
}

int ComJoins::Take()
{
    const LockGuard guard{m_lock};
    return std::exchange(m_accounts[NumberOfThisThread()], 0);
}

void ComJoins::Offset()
{
    const LockGuard guard{m_lock};
    if (std::accumulate(m_accounts.begin(), m_accounts.end(), 0,
                        [](int sum, const auto& account) { return sum + account.second; }) == 0)
    {
        m_accounts.clear();
    }
}

std::wstring ComJoins::Uneven() const
{
    const LockGuard guard{m_lock};
    std::wstring text;
    int thread = 0;
    for (const auto& [number, joins] : m_accounts)
    {
        ++thread;
        if (joins != 0)
        {
            text +=
                (text.empty() ? L"thread " : L", thread ") + std::to_wstring(thread) + L": " + std::to_wstring(joins);
        }
    }
    return text;
}

std::wstring Ledgers::Outstanding() const
{
    std::wstring text;
    const auto list = [&text](const wchar_t* what, const Ledger& ledger) {
        for (const std::wstring& note : ledger.Held())
        {
            text += std::wstring{what} + L": " + note + L"\n";
        }
    };
    const auto count = [&text](const wchar_t* what, int value) {
        if (value != 0)
        {
            text += std::wstring{what} + L": " + std::to_wstring(value) + L"\n";
        }
    };
    list(L"heap block", heap);
    list(L"handle", handles);
    list(L"environment block", environments);
    list(L"text of a UUID", uuidTexts);
    list(L"hold on the multithreaded apartment", mtaUsages);
    count(L"running threads", static_cast<int>(threads.Running()));
    if (const std::wstring joins = comJoins.Uneven(); !joins.empty())
    {
        text += L"joins of COM not left: " + joins + L"\n";
    }
    count(L"impersonations not reverted", impersonations);
    count(L"arrays left accessed", accessedSafeArrays);
    return text;
}

namespace
{

std::atomic<long> g_comBlocks = 0;

// Lives as long as the process: COM keeps it.
class Spy : public IMallocSpy
{
public:
    virtual ~Spy() = default;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override
    {
        if (!IsEqualIID(iid, IID_IUnknown) && !IsEqualIID(iid, IID_IMallocSpy))
        {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        *object = static_cast<IMallocSpy*>(this);
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }

    STDMETHODIMP_(SIZE_T) PreAlloc(SIZE_T size) override { return size; }
    STDMETHODIMP_(void*) PostAlloc(void* block) override
    {
        g_comBlocks += block != nullptr ? 1 : 0;
        return block;
    }
    STDMETHODIMP_(void*) PreFree(void* block, BOOL spied) override
    {
        g_comBlocks -= spied && block != nullptr ? 1 : 0;
        return block;
    }
    STDMETHODIMP_(void) PostFree(BOOL) override {}
    STDMETHODIMP_(SIZE_T) PreRealloc(void* block, SIZE_T size, void** newBlock, BOOL) override
    {
        *newBlock = block;
        return size;
    }
    STDMETHODIMP_(void*) PostRealloc(void* block, BOOL) override { return block; }
    STDMETHODIMP_(void*) PreGetSize(void* block, BOOL) override { return block; }
    STDMETHODIMP_(SIZE_T) PostGetSize(SIZE_T size, BOOL) override { return size; }
    STDMETHODIMP_(void*) PreDidAlloc(void* block, BOOL) override { return block; }
    STDMETHODIMP_(int) PostDidAlloc(void*, BOOL, int actual) override { return actual; }
    STDMETHODIMP_(void) PreHeapMinimize() override {}
    STDMETHODIMP_(void) PostHeapMinimize() override {}
};

} // namespace

void ComMemory::Watch()
{
    static const bool watching = [] {
        // BSTRs are cached by OLE automation: freed ones would look like held ones.
        const HMODULE automation = LoadLibraryW(L"oleaut32.dll");
        const auto setNoCache =
            reinterpret_cast<void (*)()>(reinterpret_cast<void*>(GetProcAddress(automation, "SetOaNoCache")));
        if (setNoCache == nullptr)
        {
            throw std::runtime_error{"oleaut32.dll has no SetOaNoCache"};
        }
        setNoCache();
        static Spy spy;
        if (FAILED(CoRegisterMallocSpy(&spy)))
        {
            throw std::runtime_error{"CoRegisterMallocSpy failed"};
        }
        return true;
    }();
    static_cast<void>(watching);
}

long ComMemory::Blocks()
{
    return g_comBlocks;
}

} // namespace Zv::Testing
