// The import table of a loaded module.
#pragma once

#include "Interception/Redirection.h"

#include <windows.h>

#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace Zv::Interception
{

// One imported function. Its address lies in *slot, and every call of the module goes through there.
struct Import
{
    std::string dll;       // as the module spells it, for example "KERNEL32.dll"
    std::string name;      // "#12" when imported by ordinal
    void** slot = nullptr; // never null in a table
};

// Reads the import directory of a module that is loaded and stays loaded while the table and its redirections live.
class ImportTable
{
public:
    // Throws std::invalid_argument when module is not the base of a loaded 64-bit image.
    explicit ImportTable(HMODULE module);

    // In the order of the import directory.
    [[nodiscard]] const std::vector<Import>& Imports() const noexcept { return m_imports; }

    // DLL names compare without case; a null name, "" or "*" stands for any DLL (a C runtime function comes from
    // msvcrt.dll in one build and from an API set in another).
    [[nodiscard]] std::vector<void**> Find(const char* dll, std::string_view function) const;
    // Whether the module imports the function.
    [[nodiscard]] bool Contains(const char* dll, std::string_view function) const
    {
        return !Find(dll, function).empty();
    }

    // What a call goes to now, null when the module imports no such function.
    template <class Function>
    [[nodiscard]] Function Current(const char* dll, std::string_view function) const
    {
        const std::vector<void**> slots = Find(dll, function);
        return slots.empty() ? nullptr : reinterpret_cast<Function>(*slots.front());
    }

    // Throws std::invalid_argument when the module imports no such function: a redirection that redirects nothing
    // would make a test pass for no reason.
    template <class Function>
    [[nodiscard]] Redirection Redirect(const char* dll, std::string_view function, Function* replacement) const
    {
        static_assert(std::is_function_v<Function>);
        return RedirectTo(dll, function, reinterpret_cast<void*>(replacement));
    }
    // The same for a function of any type.
    [[nodiscard]] Redirection RedirectTo(const char* dll, std::string_view function, void* replacement) const;

private:
    std::vector<Import> m_imports;
};

} // namespace Zv::Interception
