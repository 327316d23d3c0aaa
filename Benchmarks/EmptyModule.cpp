// What a DLL of this toolchain costs at least. With ZV_SAME_DLLS it needs the DLLs that the module needs.

#include <windows.h>

#if defined(ZV_SAME_DLLS)
#include "Logging/Logging.h"
#include "Platform/Windows/WindowsDeclarations.h"

#include <oleauto.h>
#include <rpc.h>
#include <userenv.h>
#include <wincrypt.h>
#include <wtsapi32.h>

// One function of each: never called, but imported.
extern "C" __declspec(dllexport) const void* const ImportedFunctions[] = {
    reinterpret_cast<const void*>(&RevertToSelf),
    reinterpret_cast<const void*>(&CryptBinaryToStringW),
    reinterpret_cast<const void*>(&CoUninitialize),
    reinterpret_cast<const void*>(&SysFreeString),
    reinterpret_cast<const void*>(&UuidCreate),
    reinterpret_cast<const void*>(&DestroyEnvironmentBlock),
    reinterpret_cast<const void*>(&WTSQueryUserToken),
    reinterpret_cast<const void*>(&GetStagedPackageOrigin),
    reinterpret_cast<const void*>(&Logging::CreateLoggingData),
};
#endif

extern "C" __declspec(dllexport) void* ZVCreateService()
{
    return nullptr;
}
