// The service interface between a host and the module WMIService.dll. This is the one header that a host includes; it
// serves hosts built with Microsoft's compiler and with MinGW-w64 alike, whichever of them built the module.
//
//     constexpr DWORD where = LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32;
//     HMODULE module = LoadLibraryExW(fullPath, nullptr, where);
//     auto* create = reinterpret_cast<ZVCreateServiceFunction*>(GetProcAddress(module, ZVCreateServiceName));
//     std::unique_ptr<ZVService> service{create()};
//     service->StartSession(clientId, &session);
//     const int code = service->ExecuteCommand(session, 16, request, &response, {}, nullptr);
//     service->FreeBuffer(response);
//     service->EndSession(&session);
#pragma once

#include "Shared/Contract/ProgressCallback.h"
#include "Shared/Contract/ResultCode.h"

#include <cstddef>
#include <new>

namespace Zv::Tessel::Server::Services
{

// The host's per-request security configuration: declared so that it can be passed, never defined or read here.
class RequestConfiguration;

// Numbers of the commands that ExecuteCommand runs. docs/reference.md gives request and response of each.
enum class FunctionNumber : unsigned int
{
    ExecuteBiosWmiCommand = 2,              // raw firmware command
    RegisterBiosEventNotification = 4,      // relay firmware events; blocks until the registration ends
    UnregisterBiosWmiEventNotification = 8, // drop an event id, or end the session's registration
    GetWmiPropertyValue = 16,               // a property of the last instance that a query yields
    GetWmiPropertyValues = 32,              // a property of every instance
    SetBiosSetting = 64,                    // change one firmware setting
    SetBiosSystemDefaults = 128,            // restore the firmware's defaults
    GetWmiClassObjectText = 256,            // MOF text of every instance, through the progress callback
};

// The service object. The host calls its operations by position: the order of the virtual functions is binding, and
// the table has eleven slots in every build. All operations may be called from any thread at the same time; the object
// is read-only once made. The host owns the object that ZVCreateService returned and ends it with `delete` (slot 0)
// after it has ended all sessions.
class ZVService
{
public:
#if defined(_MSC_VER)
    // Slot 0
    virtual ~ZVService() = default;
#else
    ~ZVService() = default;

    // Slot 0, the deleting destructor of the Microsoft ABI: destroys the object, frees its memory when bit 0 of flags
    // is set, returns the object's address. Hosts write `delete service`, which comes here through the operator below.
    virtual void* DeletingDestructor(unsigned int flags) noexcept = 0;

    static void operator delete(ZVService* service, std::destroying_delete_t) noexcept
    {
        service->DeletingDestructor(1);
    }
    static void* operator new(std::size_t size) { return ::operator new(size); }
    // For a `new` whose constructor throws.
    static void operator delete(void* memory) noexcept { ::operator delete(memory); }
#endif

    // Slot 1. Opens a session for the client named by clientId (1 to 64 characters; a null or longer id ends the
    // process through the C runtime's invalid-parameter handling). *session receives the handle; with a null session
    // nothing is made. Always returns 0. Out of memory leaves it as a C++ exception of the compiler that built the
    // module.
    virtual int StartSession(wchar_t* clientId, void** session) = 0;

    // Slot 2. Ends the session in *session: wakes its waiting event registration and gives up the host's reference.
    // The handle must not be used afterwards; commands that still run on it finish safely. *session is not changed.
    // A null session pointer is ignored. Always returns 0.
    virtual int EndSession(void** session) = 0;

    // Slot 3. Runs a command on the calling thread and returns a ResultCode.
    //   session        the handle that StartSession gave
    //   function       a FunctionNumber
    //   request        zero-terminated UTF-16 JSON, not kept
    //   response       receives a zero-terminated UTF-16 JSON text of at most 65,535 characters, to be given back with
    //                  FreeBuffer; null after RequestMalformed; left untouched where the code says that none was made
    //   callback       called on this thread, before the call returns, by functions 4 (each event) and 256 (each
    //                  instance); the call destroys it
    //   configuration  passed through, not read
    // Nothing is thrown out of it, but for what the callback of a host throws that another compiler than the module's
    // built, where the module is Visual Studio's: such a callback must not throw.
    virtual int ExecuteCommand(void* session, unsigned int function, wchar_t* request, wchar_t** response,
                               ProgressCallbackArgument callback, RequestConfiguration* configuration) = 0;

    // Slot 4. Gives back a response text. Null is ignored.
    virtual void FreeBuffer(void* buffer);

    // Slot 5. Called once after creation: arms the hotkey companion-app launchers. Failures are logged; nothing is
    // thrown.
    virtual void startup_task();

    // Slots 6 to 10, reserved.
    virtual void ReservedHook6();
    virtual void ReservedHook7();
    virtual bool ReservedQuery(); // always true
    virtual void ReservedHook9();
    virtual void ReservedHook10();

protected:
    ZVService() = default;
    ZVService(const ZVService&) = default;
    ZVService& operator=(const ZVService&) = default;
};

// The module's factory: returns a new service, owned by the caller. Out of memory leaves it as with StartSession.
extern "C" using ZVCreateServiceFunction = ZVService * ();
inline constexpr char ZVCreateServiceName[] = "ZVCreateService"; // as GetProcAddress takes it

} // namespace Zv::Tessel::Server::Services
