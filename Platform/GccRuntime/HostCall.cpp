#include "Platform/GccRuntime/HostCall.h"

#if !defined(_MSC_VER)

#include <windows.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <optional>
#include <string_view>

// How Microsoft's compiler throws on x64: an SEH exception whose parameters are a magic number, the address of the
// object thrown, the description of its type and the address of the image that the description's offsets count from.
// The object lies in the frame that threw it and is destroyed by whoever catches it, once everything above the catching
// frame has been unwound.

namespace
{

constexpr DWORD MicrosoftException = 0xe06d7363;

struct MicrosoftTypeDescriptor
{
    const void* table;
    void* spare;
    char name[1]; // decorated, zero-terminated
};

// One type that the object can be caught as.
struct MicrosoftCatchableType
{
    std::uint32_t properties;
    std::int32_t typeDescriptor;
    std::int32_t memberDisplacement;
    std::int32_t virtualTableDisplacement; // of the pointer to the table of virtual bases; negative: none
    std::int32_t virtualBaseEntry;         // offset in that table
    std::int32_t size;
    std::int32_t copyFunction;
};

struct MicrosoftCatchableTypes
{
    std::int32_t count;
    std::int32_t types[1];
};

struct MicrosoftThrowInfo
{
    std::uint32_t attributes;
    std::int32_t destructor; // 0: trivial
    std::int32_t forwardCompatible;
    std::int32_t catchableTypes;
};

static_assert(sizeof(MicrosoftCatchableType) == 28 && sizeof(MicrosoftThrowInfo) == 16);

// The beginning of Microsoft's std::exception.
struct MicrosoftStandardException
{
    struct Table
    {
        void* (*deletingDestructor)(MicrosoftStandardException*, unsigned int flags);
        const char* (*what)(const MicrosoftStandardException*);
    };
    const Table* table;
};

class ThrownObject
{
public:
    ThrownObject() noexcept = default;
    explicit ThrownObject(const EXCEPTION_RECORD& record) noexcept
    {
        if (record.NumberParameters >= 4)
        {
            m_object = std::bit_cast<unsigned char*>(record.ExceptionInformation[1]);
            m_info = std::bit_cast<const MicrosoftThrowInfo*>(record.ExceptionInformation[2]);
            m_image = std::bit_cast<const unsigned char*>(record.ExceptionInformation[3]);
        }
    }

    // `throw;` names neither object nor type: they are in the run time of the host.
    [[nodiscard]] bool IsThrownAgain() const noexcept { return m_object == nullptr || m_info == nullptr; }

    // Null when the object is none.
    [[nodiscard]] const MicrosoftStandardException* AsStandardException() const noexcept
    {
        return static_cast<const MicrosoftStandardException*>(As(".?AVexception@std@@"));
    }

    [[nodiscard]] const int* AsInt() const noexcept { return static_cast<const int*>(As(".H")); }

    void Destroy() const noexcept
    {
        if (!IsThrownAgain() && m_info->destructor != 0)
        {
            std::bit_cast<void (*)(void*)>(At<unsigned char>(m_info->destructor))(m_object);
        }
    }

private:
    template <class T>
    [[nodiscard]] const T* At(std::int32_t offset) const noexcept
    {
        return reinterpret_cast<const T*>(m_image + static_cast<std::uint32_t>(offset));
    }

    // The object as what can be caught under a decorated type name, null when it cannot.
    [[nodiscard]] const void* As(std::string_view typeName) const noexcept
    {
        const auto* const types = At<MicrosoftCatchableTypes>(m_info->catchableTypes);
        for (std::int32_t i = 0; i < types->count; ++i)
        {
            const auto* const type = At<MicrosoftCatchableType>(types->types[i]);
            if (At<MicrosoftTypeDescriptor>(type->typeDescriptor)->name == typeName)
            {
                return Base(*type);
            }
        }
        return nullptr;
    }

    [[nodiscard]] const unsigned char* Base(const MicrosoftCatchableType& type) const noexcept
    {
        const unsigned char* base = m_object + type.memberDisplacement;
        if (type.virtualTableDisplacement >= 0)
        {
            const unsigned char* table = nullptr;
            std::int32_t offset = 0;
            std::memcpy(&table, m_object + type.virtualTableDisplacement, sizeof table);
            std::memcpy(&offset, table + type.virtualBaseEntry, sizeof offset);
            base += type.virtualTableDisplacement + offset;
        }
        return base;
    }

    unsigned char* m_object = nullptr;
    const MicrosoftThrowInfo* m_info = nullptr;
    const unsigned char* m_image = nullptr;
};

std::unique_ptr<char[]> Copy(const char* text) noexcept
{
    const std::size_t size = std::strlen(text) + 1;
    std::unique_ptr<char[]> copy{new (std::nothrow) char[size]};
    if (copy)
    {
        std::memcpy(copy.get(), text, size);
    }
    return copy;
}

} // namespace

// One guarded call: shared by the frame of ZvCallGuarded, its filter and its clean-up.
struct ZvGuardedCall
{
    bool caught = false;
    bool standard = false;
    std::unique_ptr<char[]> text; // of a standard exception; null: there was no memory for it
    std::optional<int> number;    // the int that was thrown
    ThrownObject thrown;
};

extern "C"
{
    // Calls function(argument). Returns 1 when it threw an exception of Microsoft's C++; lets all others pass.
    int ZvCallGuarded(void (*function)(void*), void* argument, ZvGuardedCall* call);

    // Runs while the throwing frame is still there: decides, and keeps what must outlive the object.
    LONG ZvFilterException(EXCEPTION_POINTERS* exception, ZvGuardedCall* const* frame) noexcept;

    // Runs when the frames above have been unwound, with the memory of the object still untouched.
    void ZvEndException(BOOLEAN abnormal, ZvGuardedCall* const* frame) noexcept;
}

// Both functions get the frame's stack pointer, at which `call` lies behind the area that the called function may use
// for its parameters. The scopes are tried from the first to the last: a clean-up inside, a filter outside.
asm(R"(
    .text
    .globl  ZvCallGuarded
    .def    ZvCallGuarded; .scl 2; .type 32; .endef
    .seh_proc ZvCallGuarded
ZvCallGuarded:
    subq    $56, %rsp
    .seh_stackalloc 56
    .seh_endprologue
    movq    %r8, 32(%rsp)
    movq    %rcx, %rax
    movq    %rdx, %rcx
ZvGuardedBegin:
    call    *%rax
    nop
ZvGuardedEnd:
    xorl    %eax, %eax
    addq    $56, %rsp
    ret
ZvCaught:
    movl    $1, %eax
    addq    $56, %rsp
    ret
    .seh_handler __C_specific_handler, @except, @unwind
    .seh_handlerdata
    .long   2
    .rva    ZvGuardedBegin, ZvGuardedEnd, ZvEndException
    .long   0
    .rva    ZvGuardedBegin, ZvGuardedEnd, ZvFilterException, ZvCaught
    .text
    .seh_endproc
)");

constexpr std::size_t CallInFrame = 32 / sizeof(void*);

LONG ZvFilterException(EXCEPTION_POINTERS* exception, ZvGuardedCall* const* frame) noexcept
{
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    if (record.ExceptionCode != MicrosoftException)
    {
        return EXCEPTION_CONTINUE_SEARCH;
    }

    ZvGuardedCall& call = *frame[CallInFrame];
    call.caught = true;
    call.thrown = ThrownObject{record};
    if (call.thrown.IsThrownAgain())
    {
        call.standard = true; // as most are; what() is out of reach
        call.text = Copy("exception caught and thrown again");
    }
    else if (const MicrosoftStandardException* const standard = call.thrown.AsStandardException())
    {
        call.standard = true;
        call.text = Copy(standard->table->what(standard));
    }
    else if (const int* const number = call.thrown.AsInt())
    {
        call.number = *number;
    }
    return EXCEPTION_EXECUTE_HANDLER;
}

void ZvEndException(BOOLEAN /*abnormal*/, ZvGuardedCall* const* frame) noexcept
{
    const ZvGuardedCall& call = *frame[CallInFrame];
    if (call.caught)
    {
        call.thrown.Destroy();
    }
}

namespace Zv::Tessel::Server::Shared
{

void CallGuarded(void (*function)(void* argument), void* argument)
{
    ZvGuardedCall call;
    if (ZvCallGuarded(function, argument, &call) == 0)
    {
        return;
    }
    if (call.number)
    {
        throw *call.number;
    }
    if (!call.standard)
    {
        throw UnknownHostException{};
    }
    if (!call.text)
    {
        throw std::bad_alloc{};
    }
    throw HostException{call.text.get()};
}

} // namespace Zv::Tessel::Server::Shared

#endif
