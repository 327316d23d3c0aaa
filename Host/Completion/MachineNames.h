// Names that only a machine can tell.
#pragma once

#include "Host/Completion/Completion.h"

#include "Simulator/Machine.h"

#include <windows.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Zv::Host
{

// Classes and properties of this machine, or of a simulated one, for people who wait for them: what cannot be had
// within the limit is not there. Keeps what it has learnt.
class MachineNames
{
public:
    // Null: this machine.
    MachineNames(Simulator::Machine* machine, DWORD limit) noexcept : m_machine{machine}, m_limit{limit} {}

    [[nodiscard]] NameSource Source();

private:
    using Names = NameSource::Names;

    // Without a class: the namespace's classes. Otherwise the class's properties.
    [[nodiscard]] const Names& Ask(const std::string& nameSpace, const std::string& wmiClass);

    Simulator::Machine* const m_machine;
    const DWORD m_limit;
    std::map<std::pair<std::string, std::string>, Names> m_known;
};

} // namespace Zv::Host
