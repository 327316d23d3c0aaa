#include "Tests/Support/Module.h"

#include "Tests/Support/GuardHeap.h"

#include <stdexcept>

namespace Zv::Testing
{

namespace
{

// *response before a command: an address that no command gives out.
wchar_t g_untouched[] = L"untouched";

} // namespace

std::filesystem::path TestFolder()
{
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return std::filesystem::path{path}.parent_path();
}

std::filesystem::path ModuleFolder()
{
    return TestFolder().parent_path() / L"bin";
}

Module::Module(const std::filesystem::path& file) : m_module{LoadLibraryW(file.c_str())}
{
    if (m_module == nullptr)
    {
        throw std::runtime_error{file.filename().string() + " does not load, error " + std::to_string(GetLastError())};
    }
    GuardHeap::GuardIfAsked(m_module);
}

Module::~Module()
{
    FreeLibrary(m_module);
}

void* Module::Export(const char* name) const
{
    const FARPROC address = GetProcAddress(m_module, name);
    if (address == nullptr)
    {
        throw std::runtime_error{std::string{"WMIService.dll has no export "} + name};
    }
    return reinterpret_cast<void*>(address);
}

ZVService* Module::CreateService() const
{
    return Export<Tessel::Server::Services::ZVCreateServiceFunction>(Tessel::Server::Services::ZVCreateServiceName)();
}

Session::Session(ZVService* service, std::wstring clientId) : m_service{service}
{
    m_service->StartSession(clientId.data(), &m_handle);
}

void Session::End()
{
    if (m_handle != nullptr)
    {
        m_service->EndSession(&m_handle);
        m_handle = nullptr;
    }
}

Reply Run(ZVService* service, void* session, unsigned int function, const wchar_t* request)
{
    std::vector<std::wstring> progress;
    Reply reply = Run(service, session, function, request,
                      ProgressCallback{[&progress](wchar_t* text) { progress.emplace_back(text); }});
    reply.progress = std::move(progress);
    return reply;
}

Reply Run(ZVService* service, void* session, unsigned int function, const wchar_t* request, ProgressCallback callback)
{
    std::wstring text{request != nullptr ? request : L""};
    wchar_t* response = g_untouched;

    Reply reply;
    reply.code = service->ExecuteCommand(session, function, request != nullptr ? text.data() : nullptr, &response,
                                         std::move(callback), nullptr);
    if (response == nullptr)
    {
        reply.slot = Reply::Slot::Null;
    }
    else if (response != g_untouched)
    {
        reply.slot = Reply::Slot::Text;
        reply.text = response;
        service->FreeBuffer(response);
    }
    return reply;
}

} // namespace Zv::Testing
