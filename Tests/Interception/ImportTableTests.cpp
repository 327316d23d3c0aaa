// The program's own import table is the one that is redirected here.
#include "Interception/ImportTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>

namespace Zv::Interception
{

namespace
{

constexpr UINT FirstFake = 4711;
constexpr UINT SecondFake = 4712;

UINT WINAPI FirstCodePage()
{
    return FirstFake;
}

UINT WINAPI SecondCodePage()
{
    return SecondFake;
}

// The compiler may take an import slot for constant and read it once for a whole function, so that each call here goes
// through a function of its own.
UINT (*volatile callOemCodePage)() = [] { return GetOEMCP(); };

ImportTable Own()
{
    return ImportTable{GetModuleHandleW(nullptr)};
}

constexpr const char* Function = "GetOEMCP";

} // namespace

TEST(ImportTableTests, AFunctionIsListedWithItsDllAndAddress)
{
    const ImportTable imports = Own();
    const auto found = std::find_if(imports.Imports().begin(), imports.Imports().end(),
                                    [](const Import& import) { return import.name == Function; });
    ASSERT_NE(imports.Imports().end(), found);
    EXPECT_EQ(0, lstrcmpiA("kernel32.dll", found->dll.c_str()));
    EXPECT_EQ(reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), Function)), *found->slot);
}

TEST(ImportTableTests, ARedirectionLastsAsLongAsItsOwner)
{
    const UINT before = callOemCodePage();
    {
        const Redirection redirection = Own().Redirect("KERNEL32.DLL", Function, &FirstCodePage);
        EXPECT_EQ(FirstFake, callOemCodePage());
        EXPECT_EQ(before, redirection.Original<decltype(&GetOEMCP)>()());
    }
    EXPECT_EQ(before, callOemCodePage());
}

TEST(ImportTableTests, RedirectionsNest)
{
    const UINT before = callOemCodePage();
    {
        const Redirection outer = Own().Redirect("*", Function, &FirstCodePage);
        {
            const Redirection inner = Own().Redirect(nullptr, Function, &SecondCodePage);
            EXPECT_EQ(SecondFake, callOemCodePage());
            EXPECT_EQ(FirstFake, inner.Original<decltype(&GetOEMCP)>()());
        }
        EXPECT_EQ(FirstFake, callOemCodePage());
    }
    EXPECT_EQ(before, callOemCodePage());
}

TEST(ImportTableTests, AMovedRedirectionIsRestoredOnce)
{
    const UINT before = callOemCodePage();
    Redirection first = Own().Redirect("*", Function, &FirstCodePage);
    Redirection second = std::move(first);
    EXPECT_EQ(FirstFake, callOemCodePage());
    first.Restore();
    EXPECT_EQ(FirstFake, callOemCodePage()) << "it owns nothing any more";
    second = Redirection{};
    EXPECT_EQ(before, callOemCodePage());
}

TEST(ImportTableTests, ThePagesProtectionIsAsBefore)
{
    const std::vector<void**> slots = Own().Find("*", Function);
    ASSERT_FALSE(slots.empty());
    MEMORY_BASIC_INFORMATION before{};
    MEMORY_BASIC_INFORMATION after{};
    VirtualQuery(slots.front(), &before, sizeof before);
    {
        const Redirection redirection = Own().Redirect("*", Function, &FirstCodePage);
    }
    VirtualQuery(slots.front(), &after, sizeof after);
    EXPECT_EQ(before.Protect, after.Protect);
}

TEST(ImportTableTests, WhatIsNotImportedCannotBeRedirected)
{
    EXPECT_FALSE(Own().Contains("*", "NoSuchFunction"));
    EXPECT_FALSE(Own().Contains("ole32.dll", Function));
    EXPECT_EQ(nullptr, Own().Current<decltype(&GetOEMCP)>("*", "NoSuchFunction"));
    EXPECT_THROW(static_cast<void>(Own().Redirect("*", "NoSuchFunction", &FirstCodePage)), std::invalid_argument);
    EXPECT_THROW(static_cast<void>(Own().Redirect("ole32.dll", Function, &FirstCodePage)), std::invalid_argument);
}

TEST(ImportTableTests, OnlyALoadedModuleHasATable)
{
    alignas(16) static char noModule[sizeof(IMAGE_DOS_HEADER)] = {};
    EXPECT_THROW(ImportTable{reinterpret_cast<HMODULE>(noModule)}, std::invalid_argument);
    EXPECT_THROW(ImportTable{nullptr}, std::invalid_argument);
}

} // namespace Zv::Interception
