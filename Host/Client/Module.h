// The module WMIService.dll.
#pragma once

#include "Services/ZVService.h"

#include <windows.h>

#include <filesystem>
#include <memory>

namespace Zv::Host
{

// Loads the module and owns the service that its factory makes; the service goes before the module is unloaded. End
// every session first.
class Module
{
public:
    // The path may be relative. Throws Failure(ModuleMissing).
    explicit Module(const std::filesystem::path& path);
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;
    ~Module() = default;

    // Of a loaded library; null: of the program.
    [[nodiscard]] static std::filesystem::path PathOf(HMODULE library);
    // Beside the program.
    [[nodiscard]] static std::filesystem::path DefaultPath();

    [[nodiscard]] Zv::Tessel::Server::Services::ZVService& Service() const noexcept { return *m_service; }
    [[nodiscard]] HMODULE Library() const noexcept { return m_library.get(); }

private:
    struct Unload
    {
        void operator()(HMODULE library) const noexcept { FreeLibrary(library); }
    };

    // In this order: the service's code lies in the library.
    std::unique_ptr<std::remove_pointer_t<HMODULE>, Unload> m_library;
    std::unique_ptr<Zv::Tessel::Server::Services::ZVService> m_service;
};

} // namespace Zv::Host
