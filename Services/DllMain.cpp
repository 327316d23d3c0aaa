// The library's entry point and its named constants.

#include <windows.h>

#include <string>

namespace
{

[[maybe_unused]] const std::wstring SharedName = L"shared";
[[maybe_unused]] const std::wstring ModuleId = L"5D0E2A71-8C3F-4B96-A1E4-7F20C9B3D158";

} // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID /*reserved*/)
{
    if (reason == DLL_PROCESS_ATTACH)
    {
        // Refused, which changes nothing, where the run time of the build has callbacks for threads of its own.
        DisableThreadLibraryCalls(module);
    }
    return TRUE;
}
