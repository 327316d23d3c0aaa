// The module as a process finds it when it loads it for the first time.
#pragma once

#include "Services/ZVService.h"

#include <windows.h>

namespace Zv::Testing
{

// A copy of WMIService.dll under a name of its own: with its own static objects, which a copy that was armed keeps
// until the process ends. Stays loaded.
class FreshModule
{
public:
    // Throws std::runtime_error.
    FreshModule();
    FreshModule(const FreshModule&) = delete;
    FreshModule& operator=(const FreshModule&) = delete;
    ~FreshModule() = default;

    [[nodiscard]] HMODULE Handle() const noexcept { return m_module; }
    [[nodiscard]] Tessel::Server::Services::ZVService* CreateService() const;

private:
    HMODULE m_module;
};

} // namespace Zv::Testing
