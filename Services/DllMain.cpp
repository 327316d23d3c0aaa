// The library's entry point and its named constants.

#include <windows.h>

#include <new>
#include <string>

namespace
{

// Nobody reads these: memory that has run out is no reason for the module not to load.
std::wstring Constant(const wchar_t* text) noexcept
{
    try
    {
        return text;
    }
    catch (const std::bad_alloc&)
    {
        return {};
    }
}

[[maybe_unused]] const std::wstring SharedName = Constant(L"shared");
[[maybe_unused]] const std::wstring ModuleId = Constant(L"5D0E2A71-8C3F-4B96-A1E4-7F20C9B3D158");

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
