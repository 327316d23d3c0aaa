#include "Services/WMI/WMIService.h"

#include "Services/WMI/SetupHotkeyEventAppLauncher.h"
#include "Services/WMI/WMIServiceContext.h"
#include "Shared/Log/TypeName.h"

#include <cstring>
#include <memory>
#include <new>

namespace Zv::Tessel::Server::Services::WMI
{

WMIService::WMIService()
    : logger{Logging::LogManager::GetLogger()},
      className{Shared::ClassName<WMIService>()},
      parseTolerantFunctions{static_cast<std::uint32_t>(FunctionNumber::UnregisterBiosWmiEventNotification)}
{
}

WMIService::WMIService(const WMIService& other) = default;

WMIService::~WMIService() = default;

#if !defined(_MSC_VER)
void* WMIService::DeletingDestructor(unsigned int flags) noexcept
{
    constexpr unsigned int freeMemory = 1;
    this->~WMIService();
    if ((flags & freeMemory) != 0)
    {
        ::operator delete(static_cast<void*>(this));
    }
    return this;
}
#endif

int WMIService::StartSession(wchar_t* clientId, void** session)
{
    if (session == nullptr)
    {
        return Success;
    }

    // Not a plain `new`: the context's memory is zeroed first.
    struct FreeMemory
    {
        void operator()(void* memory) const noexcept { ::operator delete(memory); }
    };
    std::unique_ptr<void, FreeMemory> memory{::operator new(sizeof(WMIServiceContext))};
    std::memset(memory.get(), 0, sizeof(WMIServiceContext));
    auto* const context = ::new (memory.get()) WMIServiceContext{clientId};
    static_cast<void>(memory.release());

    *session = context;
    context->AddRef();
    return Success;
}

int WMIService::EndSession(void** session)
{
    if (session != nullptr)
    {
        static_cast<WMIServiceContext*>(*session)->GiveUp(WMIServiceContext::Parting::EndsSession);
    }
    return Success;
}

void WMIService::startup_task()
{
    try
    {
        SetupHotkeyEventAppLauncher();
    }
    catch (...)
    {
        if (logger != nullptr)
        {
            logger->LogInfo(L"WMIService startup_task() Failed to setup hotkey event app launcher.");
        }
    }
}

void WMIService::ReservedHook6() {}

void WMIService::ReservedHook7() {}

void WMIService::ReservedHook9() {}

void WMIService::ReservedHook10() {}

} // namespace Zv::Tessel::Server::Services::WMI

extern "C" ZV_EXPORT Zv::Tessel::Server::Services::ZVService* ZVCreateService()
{
    return new Zv::Tessel::Server::Services::WMI::WMIService;
}
