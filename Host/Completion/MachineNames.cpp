#include "Host/Completion/MachineNames.h"

#include "Host/Recording/WmiClient.h"
#include "Platform/Windows/Utf8.h"

#include "Simulator/State/Worker.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <memory>

namespace Zv::Host
{

NameSource MachineNames::Source()
{
    return {[this](const std::string& nameSpace) { return Ask(nameSpace, {}); },
            [this](const std::string& nameSpace, const std::string& wmiClass) {
                return wmiClass.empty() ? Names{} : Ask(nameSpace, wmiClass);
            }};
}

const MachineNames::Names& MachineNames::Ask(const std::string& nameSpace, const std::string& wmiClass)
{
    const auto [known, isNew] = m_known.try_emplace({nameSpace, wmiClass});
    if (!isNew)
    {
        return known->second;
    }
    const auto found = std::make_shared<std::vector<std::wstring>>(); // the worker's, should it be left
    const Simulator::Worker worker{[=, machine = m_machine] {
        try
        {
            const WmiClient wmi{machine, ToUtf16(nameSpace)};
            *found = wmiClass.empty() ? wmi.ClassNames() : wmi.PropertyNames(ToUtf16(wmiClass));
        }
        catch (const std::exception&)
        {
            found->clear(); // a key that finds nothing says so
        }
    }};
    if (worker.WaitFor(m_limit))
    {
        std::ranges::transform(*found, std::back_inserter(known->second), &ToUtf8);
        std::ranges::sort(known->second);
    }
    return known->second;
}

} // namespace Zv::Host
