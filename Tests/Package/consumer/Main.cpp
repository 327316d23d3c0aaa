// The smallest host: reads a property of this machine and prints the result code and the response.

#include <Services/ZVService.h>

#include <windows.h>

#include <cstdio>
#include <memory>

using namespace Zv::Tessel::Server::Services;

int main()
{
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    *(wcsrchr(path, L'\\') + 1) = L'\0';
    const HMODULE module = LoadLibraryExW(lstrcatW(path, L"WMIService.dll"), nullptr,
                                          LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (module == nullptr)
    {
        std::printf("The module does not load, error %lu.\n", GetLastError());
        return 1;
    }
    auto* const create = reinterpret_cast<ZVCreateServiceFunction*>(
        reinterpret_cast<void*>(GetProcAddress(module, ZVCreateServiceName)));
    const std::unique_ptr<ZVService> service{create()};

    wchar_t clientId[] = L"consumer";
    wchar_t request[] = LR"({"property": "Name", "wmiClass": "Win32_ComputerSystem", "wmiNamespace": "ROOT\\CIMV2"})";
    wchar_t* response = nullptr;
    void* session = nullptr;
    service->StartSession(clientId, &session);
    const auto function = static_cast<unsigned int>(FunctionNumber::GetWmiPropertyValue);
    const int code = service->ExecuteCommand(session, function, request, &response, {}, nullptr);
    std::printf("%d %ls\n", code, response != nullptr ? response : L"no response");
    service->FreeBuffer(response);
    service->EndSession(&session);
    return code == Success ? 0 : 1;
}
