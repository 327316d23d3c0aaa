#include "Tests/Faults/ImportGate.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <system_error>

namespace Zv::Testing
{

std::uint64_t GatedImport::Make(const CallArguments& arguments) const
{
    using Function = std::uint64_t(std::uint64_t, std::uint64_t, std::uint64_t, std::uint64_t);
    return reinterpret_cast<Function*>(original)(arguments.first, arguments.second, arguments.third, arguments.fourth);
}

struct ImportGate::Passage
{
    GatedImport import;
    GateKeeper* keeper;

    static bool Enter(const Passage* passage, const CallArguments* arguments, std::uint64_t* result) noexcept
    {
        return passage->keeper->Answers(passage->import, *arguments, *result);
    }
};

namespace
{

// Machine code that saves the registers of the arguments, asks Passage::Enter, and then either returns its answer or
// jumps to the function as if nothing had been.
constexpr unsigned char Template[] = {
    0x51,                                        // push rcx
    0x52,                                        // push rdx
    0x41, 0x50,                                  // push r8
    0x41, 0x51,                                  // push r9
    0x48, 0x83, 0xec, 0x68,                      // sub rsp, 68h: room for the callee, xmm0-3, the result
    0x0f, 0x11, 0x44, 0x24, 0x20,                // movups [rsp+20h], xmm0
    0x0f, 0x11, 0x4c, 0x24, 0x30,                // movups [rsp+30h], xmm1
    0x0f, 0x11, 0x54, 0x24, 0x40,                // movups [rsp+40h], xmm2
    0x0f, 0x11, 0x5c, 0x24, 0x50,                // movups [rsp+50h], xmm3
    0x48, 0xb9, 0,    0,    0,    0, 0, 0, 0, 0, // mov rcx, passage
    0x48, 0x8d, 0x54, 0x24, 0x68,                // lea rdx, [rsp+68h]: the registers pushed
    0x4c, 0x8d, 0x44, 0x24, 0x60,                // lea r8, [rsp+60h]
    0x48, 0xb8, 0,    0,    0,    0, 0, 0, 0, 0, // mov rax, Enter
    0xff, 0xd0,                                  // call rax
    0x84, 0xc0,                                  // test al, al; nothing below changes the flags
    0x48, 0x8b, 0x44, 0x24, 0x60,                // mov rax, [rsp+60h]
    0x0f, 0x10, 0x44, 0x24, 0x20,                // movups xmm0, [rsp+20h]
    0x0f, 0x10, 0x4c, 0x24, 0x30,                // movups xmm1, [rsp+30h]
    0x0f, 0x10, 0x54, 0x24, 0x40,                // movups xmm2, [rsp+40h]
    0x0f, 0x10, 0x5c, 0x24, 0x50,                // movups xmm3, [rsp+50h]
    0x48, 0x8d, 0x64, 0x24, 0x68,                // lea rsp, [rsp+68h]
    0x41, 0x59,                                  // pop r9
    0x41, 0x58,                                  // pop r8
    0x5a,                                        // pop rdx
    0x59,                                        // pop rcx
    0x74, 0x01,                                  // jz past the next
    0xc3,                                        // ret
    0x49, 0xbb, 0,    0,    0,    0, 0, 0, 0, 0, // mov r11, original
    0x41, 0xff, 0xe3,                            // jmp r11
};
constexpr std::size_t PassageAt = 32;
constexpr std::size_t EnterAt = 52;
constexpr std::size_t OriginalAt = 105;
constexpr std::size_t Stride = 128;
static_assert(Template[PassageAt - 1] == 0xb9 && Template[EnterAt - 1] == 0xb8 && Template[OriginalAt - 1] == 0xbb);
static_assert(sizeof Template <= Stride);

void PutAddress(std::byte* place, const void* address)
{
    std::memcpy(place, &address, sizeof address);
}

} // namespace

ImportGate::ImportGate(HMODULE module, GateKeeper& keeper)
{
    const Interception::ImportTable table{module};
    const std::vector<Interception::Import>& imports = table.Imports();
    m_code = static_cast<std::byte*>(
        VirtualAlloc(nullptr, imports.size() * Stride, MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE));
    if (m_code == nullptr)
    {
        throw std::system_error{static_cast<int>(GetLastError()), std::system_category()};
    }
    std::byte* code = m_code;
    for (const Interception::Import& import : imports)
    {
        m_passages.push_back(std::make_unique<Passage>(Passage{{import.dll, import.name, *import.slot}, &keeper}));
        std::memcpy(code, Template, sizeof Template);
        PutAddress(code + PassageAt, m_passages.back().get());
        PutAddress(code + EnterAt, reinterpret_cast<const void*>(&Passage::Enter));
        PutAddress(code + OriginalAt, *import.slot);
        m_redirections.emplace_back(std::vector<void**>{import.slot}, code);
        code += Stride;
    }
}

ImportGate::~ImportGate()
{
    m_redirections.clear();
    VirtualFree(m_code, 0, MEM_RELEASE);
}

} // namespace Zv::Testing
