#include "Tests/Simulator/Conformance.h"

#include "Simulator/Cim/StatusNames.h"

namespace Zv::Testing
{

namespace
{

std::wstring Connecting(Bench& bench, const wchar_t* path)
{
    ComPtr<IWbemServices> services;
    return StatusText(Connect(bench.machine, path, services));
}

template <class Interface>
std::wstring Creating(Bench& bench, REFCLSID classId, DWORD context)
{
    ComPtr<Interface> object;
    return StatusText(
        bench.machine.CreateInstance(classId, nullptr, context, __uuidof(Interface), object.ReceiveVoid()));
}

constexpr const char* Connect = "IWbemLocator::ConnectServer";
constexpr const char* Create = "CoCreateInstance";
constexpr const char* Paths = "wine/services.c";

constexpr ConformanceCase Cases[] = {
    {Create, "WbemLocator, in process", "S_OK", "wmisdk/creating-a-connection-to-a-wmi-namespace",
     [](Bench& b) { return Creating<IWbemLocator>(b, CLSID_WbemLocator, CLSCTX_INPROC_SERVER); }},
    {Create, "WbemContext, which nobody simulates", "S_OK", Paths,
     [](Bench& b) { return Creating<IWbemContext>(b, CLSID_WbemContext, CLSCTX_INPROC_SERVER); }},
    {Connect, "an empty path", "WBEM_E_INVALID_NAMESPACE", Paths, [](Bench& b) { return Connecting(b, L""); }},
    {Connect, R"(\)", "WBEM_E_INVALID_NAMESPACE", Paths, [](Bench& b) { return Connecting(b, L"\\"); }},
    {Connect, R"(\\)", "WBEM_E_INVALID_NAMESPACE", Paths, [](Bench& b) { return Connecting(b, L"\\\\"); }},
    {Connect, R"(\\.)", "WBEM_E_INVALID_NAMESPACE", Paths, [](Bench& b) { return Connecting(b, L"\\\\."); }},
    {Connect, R"(\\.\)", "WBEM_E_INVALID_NAMESPACE", Paths, [](Bench& b) { return Connecting(b, L"\\\\.\\"); }},
    {Connect, R"(\ROOT)", "WBEM_E_INVALID_NAMESPACE", Paths, [](Bench& b) { return Connecting(b, L"\\ROOT"); }},
    {Connect, R"(\\ROOT)", "RPC_S_SERVER_UNAVAILABLE", Paths, [](Bench& b) { return Connecting(b, L"\\\\ROOT"); }},
    {Connect, R"(\\.ROOT)", "RPC_S_SERVER_UNAVAILABLE", Paths, [](Bench& b) { return Connecting(b, L"\\\\.ROOT"); }},
    {Connect, R"(\\.\NONE)", "WBEM_E_INVALID_NAMESPACE", Paths, [](Bench& b) { return Connecting(b, L"\\\\.\\NONE"); }},
    {Connect, R"(\\.\ROOT)", "S_OK", Paths, [](Bench& b) { return Connecting(b, L"\\\\.\\ROOT"); }},
    {Connect, R"(\\\.\ROOT)", "WBEM_E_INVALID_PARAMETER", Paths,
     [](Bench& b) { return Connecting(b, L"\\\\\\.\\ROOT"); }},
    {Connect, R"(\/.\ROOT)", "S_OK", Paths, [](Bench& b) { return Connecting(b, L"\\/.\\ROOT"); }},
    {Connect, R"(//./ROOT)", "S_OK", Paths, [](Bench& b) { return Connecting(b, L"//./ROOT"); }},
    {Connect, R"(ROOT\NONE)", "WBEM_E_INVALID_NAMESPACE", Paths, [](Bench& b) { return Connecting(b, L"ROOT\\NONE"); }},
    {Connect, R"(ROOT\\CIMV2)", "WBEM_E_INVALID_NAMESPACE", Paths,
     [](Bench& b) { return Connecting(b, L"ROOT\\\\CIMV2"); }},
    {Connect, R"(ROOT\CIMV2\)", "WBEM_E_INVALID_NAMESPACE", Paths,
     [](Bench& b) { return Connecting(b, L"ROOT\\CIMV2\\"); }},
    {Connect, "ROOT/CIMV2", "S_OK", Paths, [](Bench& b) { return Connecting(b, L"ROOT/CIMV2"); }},
    {Connect, R"(\\LOCALHOST\ROOT)", "S_OK", Paths, [](Bench& b) { return Connecting(b, L"\\\\LOCALHOST\\ROOT"); }},
    {Connect, "a user's name for the local computer", "WBEM_E_LOCAL_CREDENTIALS", "api/iwbemlocator-connectserver",
     [](Bench& b) {
         ComPtr<IWbemServices> services;
         return StatusText(Locate(b.machine)->ConnectServer(Bstr{L"root\\cimv2"}.Get(), Bstr{L"Robin"}.Get(), nullptr,
                                                            nullptr, 0, nullptr, nullptr, services.Receive()));
     }},
};

} // namespace

ConformanceCases ConnectionCases()
{
    return Cases;
}

} // namespace Zv::Testing
