// The end of the module's life.
#pragma once

#include <windows.h>

namespace Zv::Tessel::Server::Shared
{

// A reference on the module, which stays loaded for as long as this object lives: for code that a thread is about to
// run which nobody waits for.
class ModuleReference
{
public:
    // Throws std::system_error when Windows refuses.
    ModuleReference();
    ModuleReference(const ModuleReference&) = delete;
    ModuleReference& operator=(const ModuleReference&) = delete;
    // Not for a thread whose code nothing else keeps: the module may be unloaded by this.
    ~ModuleReference();

    // The thread runs: keeps the module until the process ends, however often it is freed. Where Windows refuses that,
    // the reference stays, which keeps it from hosts that free it as often as they have loaded it.
    void Pin() noexcept;

private:
    HMODULE m_module = nullptr;
};

// Whether the process is past the point at which all threads but the one that ends it were stopped, wherever they were.
// What they held, locks above all, stays held.
[[nodiscard]] bool ProcessIsEnding() noexcept;

} // namespace Zv::Tessel::Server::Shared
