// The module's memory when a host unloads it.

#include "Interception/ImportTable.h"
#include "Tests/Support/Module.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <memory>

namespace
{

using namespace Zv::Testing;

// Blocks that the module gave back and nobody was given since. Fixed memory: the functions below are called by an
// allocator's users on the test's only thread.
class FreedBlocks
{
public:
    void Given(const void* block) noexcept
    {
        for (const void*& freed : m_blocks)
        {
            if (freed == block)
            {
                freed = nullptr;
            }
        }
    }

    void Freed(const void* block) noexcept
    {
        const void** room = nullptr;
        for (const void*& freed : m_blocks)
        {
            if (freed == block)
            {
                ++m_freedTwice;
                return;
            }
            if (freed == nullptr)
            {
                room = &freed;
            }
        }
        if (room != nullptr)
        {
            *room = block;
            ++m_count;
        }
    }

    [[nodiscard]] int FreedTwice() const noexcept { return m_freedTwice; }
    [[nodiscard]] int Count() const noexcept { return m_count; }

private:
    std::array<const void*, 4096> m_blocks{};
    int m_freedTwice = 0;
    int m_count = 0;
};

FreedBlocks g_freed;

void* Malloc(std::size_t size)
{
    void* const block = std::malloc(size);
    g_freed.Given(block);
    return block;
}

void* Realloc(void* block, std::size_t size)
{
    void* const moved = std::realloc(block, size);
    g_freed.Given(moved);
    return moved;
}

void Free(void* block)
{
    const int before = g_freed.FreedTwice();
    if (block != nullptr)
    {
        g_freed.Freed(block);
    }
    if (g_freed.FreedTwice() == before)
    {
        std::free(block);
    }
}

// Without an owner that puts the entry back: the table goes with the module.
void Replace(HMODULE module, const char* function, void* replacement)
{
    for (void** const slot : Zv::Interception::ImportTable{module}.Find(nullptr, function))
    {
        DWORD protection = 0;
        ASSERT_TRUE(VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection));
        *slot = replacement;
        VirtualProtect(slot, sizeof *slot, protection, &protection);
    }
}

TEST(Unloading, GivesNoMemoryBackTwice)
{
    auto module = std::make_unique<Module>();
    Replace(module->Handle(), "malloc", reinterpret_cast<void*>(&Malloc));
    Replace(module->Handle(), "realloc", reinterpret_cast<void*>(&Realloc));
    Replace(module->Handle(), "free", reinterpret_cast<void*>(&Free));
    {
        const Service service{*module};
        const Session session{service.Get()};
        ASSERT_EQ(Zv::Testing::Run(service.Get(), session.Get(), 256, L"{}").code, 0x2000000e)
            << "an exception inside the module";
    }

    module.reset();

    EXPECT_EQ(GetModuleHandleW(L"WMIService.dll"), nullptr);
    EXPECT_GT(g_freed.Count(), 0);
    EXPECT_EQ(g_freed.FreedTwice(), 0);
}

} // namespace
