#include "Interception/ModuleExports.h"

#include <delayimp.h>

#include <atomic>
#include <stdexcept>

namespace Zv::Interception
{

namespace
{

std::atomic<HMODULE> g_module = nullptr;

FARPROC WINAPI OnDelayedImport(unsigned int event, PDelayLoadInfo info)
{
    if (event == dliNotePreLoadLibrary && lstrcmpiA(info->szDll, "WMIService.dll") == 0)
    {
        return reinterpret_cast<FARPROC>(g_module.load()); // null: loaded in the ordinary way
    }
    return nullptr;
}

// Called in the place of an export that the module lacks.
[[noreturn]] void MissingExport()
{
    throw std::runtime_error{"the module lacks a function that this program calls"};
}

FARPROC WINAPI OnFailure(unsigned int event, PDelayLoadInfo)
{
    return event == dliFailGetProc ? reinterpret_cast<FARPROC>(&MissingExport) : nullptr;
}

} // namespace

void BindModuleExports(HMODULE module) noexcept
{
    g_module = module;
}

} // namespace Zv::Interception

// The names by which the compiler's delay-load helper finds the hooks.
#if defined(_MSC_VER)
ExternC const PfnDliHook __pfnDliNotifyHook2 = &Zv::Interception::OnDelayedImport;
ExternC const PfnDliHook __pfnDliFailureHook2 = &Zv::Interception::OnFailure;
#else
PfnDliHook __pfnDliNotifyHook2 = &Zv::Interception::OnDelayedImport;
PfnDliHook __pfnDliFailureHook2 = &Zv::Interception::OnFailure;
#endif
