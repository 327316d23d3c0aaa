#include "Benchmarks/Subject.h"

#include "Benchmarks/Paths.h"
#include "Logging/Logging.h"

#include <rpc.h>

#include <filesystem>
#include <stdexcept>

namespace Zv::Benchmarks
{

namespace
{

Simulator::Machine* g_machine = nullptr; // of the one Subject; set before its commands run

HRESULT WINAPI CreateFromMachine(REFCLSID classId, IUnknown* outer, DWORD context, REFIID iid, void** object)
{
    return g_machine->CreateInstance(classId, outer, context, iid, object);
}

// As anywhere outside of a remote call. Wine has no such function.
RPC_STATUS WINAPI NoRemoteCall(RPC_BINDING_HANDLE, void*)
{
    return RPC_S_NO_CALL_ACTIVE;
}

HMODULE LoadModule()
{
    const std::filesystem::path file = BesideProgram(L"WMIService.dll");
    HMODULE const module =
        LoadLibraryExW(file.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (module == nullptr)
    {
        throw std::runtime_error{"WMIService.dll cannot be loaded from beside the program"};
    }
    return module;
}

std::string FirmwareMethods()
{
    std::string classes;
    std::string methods;
    for (const std::string size : {"0", "4", "128", "1024", "4096"})
    {
        const std::string data = size == "0" ? "" : R"(, "Data": { "type": "uint8[]", "size": )" + size + " }";
        classes += R"({ "name": "Out)" + size +
                   R"(", "properties": { "rwReturnCode": { "type": "uint32", "value": 0 })" + data + " } },";
        methods += std::string{methods.empty() ? "" : ","} + R"("zvqBIOSInt)" + size +
                   R"(": { "in": { "InData": "object:zvqBDataIn" }, "out": { "OutData": "object:Out)" + size +
                   R"(" } })";
    }
    return classes + R"({ "name": "zvqBIntM",
        "properties": { "InstanceName": { "type": "string", "key": true } },
        "methods": {)" +
           methods + R"(},
        "shorthand": { "input": "InData.zvqBData", "bytes": "OutData.Data", "returnCode": "OutData.rwReturnCode" },
        "rules": [
          { "methods": ["zvqBIOSInt4", "zvqBIOSInt128", "zvqBIOSInt1024", "zvqBIOSInt4096"],
            "answer": { "out": { "bytes": { "echo": "input" } } } },
          { "methods": ["zvqBIOSInt0"], "answer": {} } ],
        "instances": [{ "InstanceName": "bench" }] })";
}

} // namespace

Simulator::Machine MakeMachine(std::size_t items, std::size_t textLength)
{
    const std::string padding(textLength, 'x');
    std::string instances;
    for (std::size_t i = 0; i < items; ++i)
    {
        instances += std::string{i == 0 ? "" : ","} + R"({ "Id": )" + std::to_string(i) + R"(, "Number": )" +
                     std::to_string(i % 1000) + R"(, "Text": "t)" + std::to_string(i % 100) + padding +
                     R"(", "Flag": true })";
    }
    return Simulator::Machine::Parse(R"({ "version": 1, "name": "benchmark", "namespaces": [
      { "path": "root\\wmi", "classes": [
        { "name": "zvqBDataIn", "properties": { "Sign": "uint8[]", "Command": "uint32", "CommandType": "uint32",
          "Size": "uint32", "zvqBData": "uint8[]" } },)" +
                                     FirmwareMethods() + R"(,
        { "name": "zvqBEvnt", "event": true,
          "properties": { "EventID": "uint32", "EventData": "uint32" } } ] },
      { "path": "root\\ZV\\InstrumentedBIOS", "classes": [
        { "name": "ZVBIOS_BIOSSettingInterface",
          "properties": { "InstanceName": { "type": "string", "key": true } },
          "methods": {
            "SetBIOSSetting": { "in": { "Name": "string", "Value": "string", "Password": "string" },
              "out": { "Return": "uint32" }, "does": "setSetting" },
            "SetSystemDefaults": { "in": { "Password": "string" }, "out": { "Return": "uint32" },
              "does": "restoreDefaults" } },
          "instances": [{ "InstanceName": "bench" }] } ] },
      { "path": "root\\CIMV2", "classes": [
        { "name": "Bench_Item",
          "properties": { "Id": { "type": "uint32", "key": true }, "Number": "sint32", "Text": "string",
            "Flag": "boolean" },
          "instances": [)" + instances +
                                     R"(] } ] } ],
      "settings": { "items": [{ "name": "Fan", "value": "On", "allowed": ["On", "Off"] }] } })");
}

Subject::Subject(Simulator::Machine& machine) : m_module{LoadModule()}
{
    Use(machine);
    const Interception::ImportTable imports{m_module};
    m_creation = imports.Redirect("ole32.dll", "CoCreateInstance", &CreateFromMachine);
    m_callAttributes = imports.Redirect("rpcrt4.dll", "RpcServerInqCallAttributesW", &NoRemoteCall);
    Logging::LogManager::SetProvider(L"Zv-Tessel-SystemInformation"); // as a host does; nobody listens
    auto* const create = reinterpret_cast<Tessel::Server::Services::ZVCreateServiceFunction*>(
        reinterpret_cast<void*>(GetProcAddress(m_module, Tessel::Server::Services::ZVCreateServiceName)));
    m_service.reset(create());
    std::wstring clientId = L"benchmark";
    m_service->StartSession(clientId.data(), &m_session);
}

Subject::~Subject()
{
    m_service->EndSession(&m_session);
    m_service.reset();
    m_callAttributes.Restore();
    m_creation.Restore();
    FreeLibrary(m_module);
}

void Subject::Use(Simulator::Machine& machine) noexcept
{
    g_machine = &machine;
}

void Subject::Run(FunctionNumber function, const std::wstring& request, const ProgressCallback& callback)
{
    wchar_t* response = nullptr;
    const int code = m_service->ExecuteCommand(m_session, static_cast<unsigned int>(function),
                                               const_cast<wchar_t*>(request.c_str()), &response, callback, nullptr);
    m_service->FreeBuffer(response);
    if (code != 0)
    {
        throw std::runtime_error{"a command of the benchmark failed with " + std::to_string(code)};
    }
}

int Subject::RunAny(unsigned int function, const std::wstring& request, const ProgressCallback& callback)
{
    wchar_t* response = nullptr;
    const int code = m_service->ExecuteCommand(m_session, function, const_cast<wchar_t*>(request.c_str()), &response,
                                               callback, nullptr);
    m_service->FreeBuffer(response);
    return code;
}

} // namespace Zv::Benchmarks
