#include "Tests/Support/GuardHeap.h"

#include "Tests/Support/Module.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cwchar>
#include <functional>
#include <ostream>
#include <stdexcept>

namespace
{

using namespace Zv::Testing;

// A block of the module's: the response of a command, and the host's way to give it back.
struct Block
{
    explicit Block(const wchar_t* mode)
    {
        SetEnvironmentVariableW(L"ZV_GUARD_HEAP", mode);
        static const Module module;
        static const Service service{module};
        m_service = service.Get();
        static Session session{m_service};
        wchar_t request[] = L"{}";
        m_service->ExecuteCommand(session.Get(), 3, request, &text, {}, nullptr);
    }

    void Free() const { m_service->FreeBuffer(text); }
    void FreeOther(void* block) const { m_service->FreeBuffer(block); }

    wchar_t* text = nullptr; // "{}": six bytes with the terminator

private:
    ZVService* m_service;
};

wchar_t Read(const wchar_t* text)
{
    return *static_cast<const volatile wchar_t*>(text);
}

void Write(wchar_t* text)
{
    *static_cast<volatile wchar_t*>(text) = L'x';
}

// What each process below does on a heap of the mode, and what is said of it.
struct Case
{
    const char* name;
    const wchar_t* mode;
    std::function<void(const Block&)> act;
    const char* complaint;
};

std::ostream& operator<<(std::ostream& stream, const Case& theCase)
{
    return stream << theCase.name;
}

class GuardHeapDeathTest : public ::testing::TestWithParam<Case>
{
};

TEST_P(GuardHeapDeathTest, EndsTheProcessThere)
{
    const auto run = [] {
        GetParam().act(Block{GetParam().mode});
        std::_Exit(0); // nothing was noticed
    };
    EXPECT_EXIT(run(), ::testing::ExitedWithCode(GuardHeap::ExitCode), GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(
    GuardHeap, GuardHeapDeathTest,
    ::testing::Values(Case{"Overrun", L"overrun", [](const Block& block) { Write(block.text + 3); },
                           "Guard heap: write 0 bytes behind a block of 6 bytes"},
                      Case{"ReadBehind", L"overrun", [](const Block& block) { Read(block.text + 3); },
                           "Guard heap: read 0 bytes behind a block of 6 bytes"},
                      Case{"Underrun", L"underrun", [](const Block& block) { Write(block.text - 1); },
                           "Guard heap: write 2 bytes before a block of 6 bytes"},
                      Case{"SmallUnderrunOnAHeapForOverruns", L"overrun",
                           [](const Block& block) {
                               Write(block.text - 1);
                               block.Free();
                           },
                           "Guard heap: write, found when freed, 2 bytes before a block of 6 bytes"},
                      Case{"SmallOverrunOnAHeapForUnderruns", L"underrun",
                           [](const Block& block) {
                               Write(block.text + 3);
                               block.Free();
                           },
                           "Guard heap: write, found when freed, 0 bytes behind a block of 6 bytes"},
                      Case{"UseAfterFree", L"overrun",
                           [](const Block& block) {
                               block.Free();
                               Read(block.text + 1);
                           },
                           "Guard heap: read at byte 2 of a freed block of 6 bytes"},
                      Case{"UseAfterFreeOnAHeapForUnderruns", L"underrun",
                           [](const Block& block) {
                               block.Free();
                               Write(block.text);
                           },
                           "Guard heap: write at byte 0 of a freed block of 6 bytes"},
                      Case{"DoubleFree", L"overrun",
                           [](const Block& block) {
                               block.Free();
                               block.Free();
                           },
                           "Guard heap: free at byte 0 of a freed block of 6 bytes"},
                      Case{"FreeInsideABlock", L"overrun", [](const Block& block) { block.FreeOther(block.text + 1); },
                           "Guard heap: free at byte 2 of a block of 6 bytes"},
                      Case{"FreeOfSomethingElse", L"overrun",
                           [](const Block& block) {
                               static int notABlock[16];
                               block.FreeOther(notABlock);
                           },
                           "Guard heap: free of .*, which is no block"}),
    [](const auto& test) { return std::string{test.param.name}; });

// The rest changes nothing in this process: it happens in one that ends with 0 when all went well.
void ExpectOf(const std::function<bool()>& body)
{
    EXPECT_EXIT(std::_Exit(body() ? 0 : 1), ::testing::ExitedWithCode(0), "");
}

TEST(GuardHeapRightUseDeathTest, GoesUnnoticed)
{
    for (const wchar_t* const mode : {L"overrun", L"underrun"})
    {
        ExpectOf([mode] {
            const Block block{mode};
            const bool right = std::wcscmp(block.text, L"{}") == 0 && GuardHeap::IsLive(block.text);
            block.Free();
            block.FreeOther(nullptr);
            return right && !GuardHeap::IsLive(block.text) && GuardHeap::Allocations() > 1;
        });
    }
}

TEST(GuardHeapRightUseDeathTest, BlocksOfTheProgramCanBeGivenToTheModule)
{
    ExpectOf([] {
        const Block block{L"overrun"};
        block.FreeOther(std::malloc(20));
        return true;
    });
}

TEST(GuardHeapRightUseDeathTest, TheProgramFreesBlocksOfBothHeaps)
{
    ExpectOf([] {
        const Block block{L"overrun"};
        std::free(block.text);
        std::free(std::malloc(20));
        std::free(nullptr);
        return !GuardHeap::IsLive(block.text);
    });
}

TEST(GuardHeapRightUseDeathTest, IsOffUnlessAskedFor)
{
    ExpectOf([] {
        const Block block{nullptr};
        return !GuardHeap::IsOn() && !GuardHeap::IsLive(block.text);
    });
}

TEST(GuardHeapRightUseDeathTest, AnotherModeIsRefused)
{
    ExpectOf([] {
        try
        {
            const Block block{L"sideways"};
            return false;
        }
        catch (const std::runtime_error& error)
        {
            return std::string{error.what()} == "ZV_GUARD_HEAP is neither overrun nor underrun";
        }
    });
}

} // namespace
