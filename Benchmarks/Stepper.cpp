#include "Benchmarks/Stepper.h"

#include <psapi.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <utility>

#if defined(_MSC_VER)
#include <intrin.h>
#else
#include <x86intrin.h>
#endif

namespace Zv::Benchmarks
{

namespace
{

constexpr DWORD TrapFlag = 0x100;

struct LoadedImage
{
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    ImageTally tally;

    [[nodiscard]] bool Contains(std::uintptr_t address) const noexcept { return begin <= address && address < end; }
};

// The handler is a plain function: what it counts is the process's.
struct Steps
{
    std::vector<LoadedImage> images; // the subject, all others, and one for what lies in none
    std::vector<std::uint32_t> addresses;
    std::size_t current = 0; // index of the image of the last instruction
    std::uintptr_t last = 0;
    bool counting = false;
    bool skipsCalls = false;
    std::uintptr_t stack = 0;            // where its top was at the last instruction
    unsigned char* breakpoint = nullptr; // where a call that is skipped returns to
    unsigned char replaced = 0;          // what the breakpoint stands for
};
Steps g_steps;

void Count(std::uintptr_t address) noexcept
{
    if (address == g_steps.last)
    {
        return; // the next turn of an instruction that repeats itself
    }
    g_steps.last = address;
    if (!g_steps.images[g_steps.current].Contains(address))
    {
        const auto found = std::find_if(g_steps.images.begin(), g_steps.images.end() - 1,
                                        [address](const LoadedImage& image) { return image.Contains(address); });
        g_steps.current = static_cast<std::size_t>(found - g_steps.images.begin());
    }
    ++g_steps.images[g_steps.current].tally.instructions;
    if (g_steps.current == 0)
    {
        ++g_steps.addresses[address - g_steps.images.front().begin];
    }
}

constexpr unsigned char BreakpointInstruction = 0xcc;

void SetBreakpoint(unsigned char* address) noexcept
{
    g_steps.breakpoint = address;
    g_steps.replaced = std::exchange(*address, BreakpointInstruction);
}

void RemoveBreakpoint() noexcept
{
    if (g_steps.breakpoint != nullptr)
    {
        *std::exchange(g_steps.breakpoint, nullptr) = g_steps.replaced;
    }
}

// Where the call returns to that has just left the subject; null when none has.
unsigned char* ReturnOfCall(const CONTEXT& context, bool wasInSubject) noexcept
{
    const LoadedImage& subject = g_steps.images.front();
    const bool hasReturned = context.Rsp > g_steps.stack;
    if (!wasInSubject || subject.Contains(context.Rip) || hasReturned)
    {
        return nullptr;
    }
    const auto address = *reinterpret_cast<const std::uintptr_t*>(context.Rsp);
    return subject.Contains(address) ? reinterpret_cast<unsigned char*>(address) : nullptr;
}

void Step(CONTEXT& context) noexcept
{
    const bool wasInSubject = g_steps.current == 0;
    unsigned char* const toReturn = g_steps.skipsCalls ? ReturnOfCall(context, wasInSubject) : nullptr;
    g_steps.stack = context.Rsp;
    if (toReturn != nullptr)
    {
        SetBreakpoint(toReturn);
        return;
    }
    Count(context.Rip); // the instruction that comes next
    context.EFlags |= TrapFlag;
}

LONG CALLBACK OnException(EXCEPTION_POINTERS* exception)
{
    CONTEXT& context = *exception->ContextRecord;
    switch (exception->ExceptionRecord->ExceptionCode)
    {
    case EXCEPTION_SINGLE_STEP:
        break;
    case EXCEPTION_BREAKPOINT:
        if (context.Rip != reinterpret_cast<std::uintptr_t>(g_steps.breakpoint))
        {
            return EXCEPTION_CONTINUE_SEARCH;
        }
        RemoveBreakpoint();
        break;
    default:
        return EXCEPTION_CONTINUE_SEARCH;
    }
    context.EFlags &= ~TrapFlag;
    if (g_steps.counting)
    {
        Step(context);
    }
    return EXCEPTION_CONTINUE_EXECUTION;
}

std::vector<HMODULE> LoadedModules()
{
    std::vector<HMODULE> modules(1024);
    DWORD size = 0;
    if (K32EnumProcessModules(GetCurrentProcess(), modules.data(), static_cast<DWORD>(modules.size() * sizeof(HMODULE)),
                              &size) == FALSE)
    {
        throw std::runtime_error{"the loaded images cannot be listed"};
    }
    modules.resize(std::min(modules.size(), size / sizeof(HMODULE)));
    return modules;
}

LoadedImage Describe(HMODULE module)
{
    std::array<wchar_t, MAX_PATH> path{};
    GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
    std::string name = std::filesystem::path{path.data()}.filename().string();
    std::ranges::transform(name, name.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    MODULEINFO info{};
    K32GetModuleInformation(GetCurrentProcess(), module, &info, sizeof info);
    const auto begin = reinterpret_cast<std::uintptr_t>(info.lpBaseOfDll);
    return {begin, begin + info.SizeOfImage, {std::move(name)}};
}

} // namespace

Stepper::Stepper(HMODULE subject)
{
    g_steps = {};
    g_steps.images.push_back(Describe(subject));
    for (HMODULE const module : LoadedModules())
    {
        if (module != subject)
        {
            g_steps.images.push_back(Describe(module));
        }
    }
    g_steps.images.emplace_back();
    const std::size_t size = g_steps.images.front().end - g_steps.images.front().begin;
    g_steps.addresses.resize(size);
    DWORD before = 0;
    if (VirtualProtect(subject, size, PAGE_EXECUTE_READWRITE, &before) == FALSE) // for breakpoints
    {
        throw std::runtime_error{"breakpoints cannot be set"};
    }
    constexpr ULONG beforeOthers = 1;
    m_handler = AddVectoredExceptionHandler(beforeOthers, &OnException);
}

Stepper::~Stepper()
{
    RemoveVectoredExceptionHandler(m_handler);
}

void Stepper::Start(Calls calls) noexcept
{
    for (LoadedImage& image : g_steps.images)
    {
        image.tally.instructions = 0;
    }
    std::ranges::fill(g_steps.addresses, 0U);
    g_steps.last = 0;
    g_steps.skipsCalls = calls == Calls::Skip;
    g_steps.counting = true;
    __writeeflags(__readeflags() | TrapFlag);
}

void Stepper::Stop() noexcept
{
    g_steps.counting = false; // the next step is the last one
}

std::vector<ImageTally> Stepper::Images() const
{
    std::vector<ImageTally> tallies;
    std::ranges::transform(g_steps.images, std::back_inserter(tallies), &LoadedImage::tally);
    return tallies;
}

const std::vector<std::uint32_t>& Stepper::Addresses() const noexcept
{
    return g_steps.addresses;
}

} // namespace Zv::Benchmarks
