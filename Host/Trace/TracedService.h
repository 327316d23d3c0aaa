// The service with the host's calls in the trace, within which the module's calls are made.
#pragma once

#include "Services/ZVService.h"

namespace Zv::Host::Tracing
{

// Passes each call on to a service of the module, which must outlive it. Is no object of a module's factory: nobody
// deletes it through the interface.
class TracedService : public Tessel::Server::Services::ZVService
{
public:
    explicit TracedService(ZVService& service) noexcept : m_service{service} {}
    TracedService(const TracedService&) = delete;
    TracedService& operator=(const TracedService&) = delete;

#if defined(_MSC_VER)
    ~TracedService() override = default;
#else
    ~TracedService() = default;
    void* DeletingDestructor(unsigned int) noexcept override { return this; }
#endif

    int StartSession(wchar_t* clientId, void** session) override;
    int EndSession(void** session) override;
    int ExecuteCommand(void* session, unsigned int function, wchar_t* request, wchar_t** response,
                       Tessel::Server::Services::ProgressCallbackArgument callback,
                       Tessel::Server::Services::RequestConfiguration* configuration) override;
    void FreeBuffer(void* buffer) override { m_service.FreeBuffer(buffer); }
    void startup_task() override;
    void ReservedHook6() override { m_service.ReservedHook6(); }
    void ReservedHook7() override { m_service.ReservedHook7(); }
    bool ReservedQuery() override { return m_service.ReservedQuery(); }
    void ReservedHook9() override { m_service.ReservedHook9(); }
    void ReservedHook10() override { m_service.ReservedHook10(); }

private:
    ZVService& m_service;
};

} // namespace Zv::Host::Tracing
