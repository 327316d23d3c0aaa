#include "Tests/Support/FaultPlan.h"

#include <utility>

namespace Zv::Testing
{

using Tessel::Server::Shared::LockGuard;

void FaultPlan::Fail(const std::string& site, Fault fault)
{
    const LockGuard guard{m_lock};
    m_sites[site].faults.push_back(fault);
}

void FaultPlan::Before(const std::string& site, std::function<void(int call)> action)
{
    const LockGuard guard{m_lock};
    m_sites[site].before = std::move(action);
}

void FaultPlan::Clear()
{
    const LockGuard guard{m_lock};
    m_sites.clear();
}

std::optional<Fault> FaultPlan::Enter(const std::string& site)
{
    std::optional<Fault> chosen;
    std::function<void(int)> before;
    int call = 0;
    {
        const LockGuard guard{m_lock};
        Site& entry = m_sites[site];
        call = ++entry.calls;
        before = entry.before;
        for (const Fault& fault : entry.faults)
        {
            if (call >= fault.first && call <= fault.last)
            {
                chosen = fault;
                break;
            }
        }
    }
    if (before)
    {
        before(call);
    }
    return chosen;
}

int FaultPlan::Calls(const std::string& site) const
{
    const LockGuard guard{m_lock};
    const auto found = m_sites.find(site);
    return found == m_sites.end() ? 0 : found->second.calls;
}

std::map<std::string, int> FaultPlan::Sites() const
{
    std::map<std::string, int> sites;
    const LockGuard guard{m_lock};
    for (const auto& [name, site] : m_sites)
    {
        if (site.calls > 0)
        {
            sites[name] = site.calls;
        }
    }
    return sites;
}

} // namespace Zv::Testing
