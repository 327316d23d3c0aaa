// The functions that the module imports, and how a trace shows each.
#pragma once

#include <windows.h>

#include <span>
#include <string_view>

namespace Zv::Host::Tracing
{

struct TraceOptions;

struct ImportEntry
{
    enum class Group
    {
        Platform, // shown
        Memory,   // shown on request
        Quiet,    // never shown, and not redirected
    };

    const char* name;
    Group group;
    const char* why;                // it is quiet
    void* hook;                     // stands in the place of the function; null for a quiet one
    void (*attach)(void* original); // tells the hook what it stands for
};

[[nodiscard]] std::span<const ImportEntry> AllImports();

// Null for an import that is in no table.
[[nodiscard]] const ImportEntry* FindImport(std::string_view dll, std::string_view name);

// Leads the module's calls through the trace from here on, and for as long as the module is loaded. Before the module's
// own initialisation runs, so that its calls are seen, too; what was redirected before is called by the trace.
void TraceImports(HMODULE module, const TraceOptions& options);

} // namespace Zv::Host::Tracing
