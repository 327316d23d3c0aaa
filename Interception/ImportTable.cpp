#include "Interception/ImportTable.h"

#include <cstddef>
#include <stdexcept>

namespace Zv::Interception
{

namespace
{

template <class T>
T* At(HMODULE module, std::size_t offset) noexcept
{
    return reinterpret_cast<T*>(reinterpret_cast<std::byte*>(module) + offset);
}

const IMAGE_DATA_DIRECTORY& ImportDirectory(HMODULE module)
{
    const auto* dos = At<const IMAGE_DOS_HEADER>(module, 0);
    if (module == nullptr || dos->e_magic != IMAGE_DOS_SIGNATURE)
    {
        throw std::invalid_argument{"not a loaded module"};
    }
    const auto* headers = At<const IMAGE_NT_HEADERS64>(module, static_cast<std::size_t>(dos->e_lfanew));
    if (headers->Signature != IMAGE_NT_SIGNATURE || headers->OptionalHeader.Magic != IMAGE_NT_OPTIONAL_HDR64_MAGIC)
    {
        throw std::invalid_argument{"not a 64-bit module"};
    }
    return headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
}

std::string ImportName(HMODULE module, const IMAGE_THUNK_DATA64& thunk)
{
    if (IMAGE_SNAP_BY_ORDINAL64(thunk.u1.Ordinal))
    {
        return "#" + std::to_string(IMAGE_ORDINAL64(thunk.u1.Ordinal));
    }
    const auto* byName = At<const IMAGE_IMPORT_BY_NAME>(module, static_cast<std::size_t>(thunk.u1.AddressOfData));
    return reinterpret_cast<const char*>(byName->Name);
}

} // namespace

ImportTable::ImportTable(HMODULE module)
{
    const IMAGE_DATA_DIRECTORY& directory = ImportDirectory(module);
    if (directory.VirtualAddress == 0)
    {
        return;
    }
    for (const auto* descriptor = At<const IMAGE_IMPORT_DESCRIPTOR>(module, directory.VirtualAddress);
         descriptor->Name != 0; ++descriptor)
    {
        const char* dll = At<const char>(module, descriptor->Name);
        // The name table survives loading; the loader has overwritten the address table with addresses.
        const auto* name = At<const IMAGE_THUNK_DATA64>(module, descriptor->OriginalFirstThunk);
        auto* address = At<IMAGE_THUNK_DATA64>(module, descriptor->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++address)
        {
            m_imports.push_back({dll, ImportName(module, *name), reinterpret_cast<void**>(&address->u1.Function)});
        }
    }
}

std::vector<void**> ImportTable::Find(const char* dll, std::string_view function) const
{
    const bool anyDll = dll == nullptr || *dll == '\0' || std::string_view{dll} == "*";
    std::vector<void**> slots;
    for (const Import& import : m_imports)
    {
        if (import.name == function && (anyDll || lstrcmpiA(import.dll.c_str(), dll) == 0))
        {
            slots.push_back(import.slot);
        }
    }
    return slots;
}

Redirection ImportTable::RedirectTo(const char* dll, std::string_view function, void* replacement) const
{
    const std::vector<void**> slots = Find(dll, function);
    if (slots.empty())
    {
        throw std::invalid_argument{"the module does not import " + std::string{function} + " from " +
                                    (dll == nullptr ? "any DLL" : dll)};
    }
    return Redirection{slots, replacement};
}

} // namespace Zv::Interception
