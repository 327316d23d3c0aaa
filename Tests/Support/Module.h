// The module under test, loaded as a host loads it, and what a host does with it.
#pragma once

#include "Services/ZVService.h"

#include <windows.h>

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Zv::Testing
{

using Tessel::Server::Services::FunctionNumber;
using Tessel::Server::Services::ProgressCallback;
using Tessel::Server::Services::ResultCode;
using Tessel::Server::Services::ZVService;

// The folder of the running test program, and the folder of the module beside it.
[[nodiscard]] std::filesystem::path TestFolder();
[[nodiscard]] std::filesystem::path ModuleFolder();

// WMIService.dll, loaded for the life of this object. Throws std::runtime_error when it cannot be loaded.
class Module
{
public:
    Module() : Module{ModuleFolder() / L"WMIService.dll"} {}
    // Another build of it.
    explicit Module(const std::filesystem::path& file);
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;
    ~Module();

    [[nodiscard]] HMODULE Handle() const noexcept { return m_module; }

    // The address of an export; throws std::runtime_error when there is none of that name.
    [[nodiscard]] void* Export(const char* name) const;

    template <class Function>
    [[nodiscard]] Function* Export(const char* name) const
    {
        return reinterpret_cast<Function*>(Export(name));
    }

    // Calls the factory.
    [[nodiscard]] ZVService* CreateService() const;

private:
    HMODULE m_module;
};

// A service object, destroyed through slot 0.
class Service
{
public:
    explicit Service(const Module& module) : m_service{module.CreateService()} {}

    [[nodiscard]] ZVService* Get() const noexcept { return m_service.get(); }
    ZVService* operator->() const noexcept { return m_service.get(); }

private:
    std::unique_ptr<ZVService> m_service;
};

// A session, ended by End or the destructor.
class Session
{
public:
    explicit Session(ZVService* service, std::wstring clientId = L"test client");
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session() { End(); }

    [[nodiscard]] void* Get() const noexcept { return m_handle; }
    void End();

private:
    ZVService* m_service;
    void* m_handle = nullptr;
};

// What a host gets from a command.
struct Reply
{
    enum class Slot
    {
        Untouched,
        Null,
        Text
    };

    int code = -1;
    Slot slot = Slot::Untouched;        // what became of *response
    std::wstring text;                  // of the response
    std::vector<std::wstring> progress; // the strings that came through the callback
};

// Runs a command and gives the response back through FreeBuffer. A null request is passed on as null.
Reply Run(ZVService* service, void* session, unsigned int function, const wchar_t* request);

// The same with a callback of the caller's.
Reply Run(ZVService* service, void* session, unsigned int function, const wchar_t* request, ProgressCallback callback);

// Calls by position, as the host does: the object first. Independent of the header's class.
template <class Result, class... Arguments>
Result CallSlot(void* object, std::size_t slot, Arguments... arguments)
{
    using Function = Result (*)(void*, Arguments...);
    void** const table = *static_cast<void***>(object);
    return reinterpret_cast<Function>(table[slot])(object, arguments...);
}

} // namespace Zv::Testing
