// Watches what a module frees, so that a machine can count the BSTRs and SAFEARRAYs that it handed out.
#pragma once

#include "Interception/Redirection.h"

#include <windows.h>

#include <memory>
#include <vector>

namespace Zv::Simulator
{

struct Core;
class Machine;

// While it lives, the module's imports of the functions that free BSTRs and SAFEARRAYs are watched, and the machine's
// Outstanding() counts strings and arrays handed out since. What another module frees is not seen and stays counted.
// One at a time in a process: the functions that the imports are redirected to know no machine. Make and destroy it
// while the module runs no call.
class AutomationWatch
{
public:
    // Throws std::logic_error when there is one already.
    AutomationWatch(const Machine& machine, HMODULE module);
    AutomationWatch(const AutomationWatch&) = delete;
    AutomationWatch& operator=(const AutomationWatch&) = delete;
    ~AutomationWatch();

private:
    std::shared_ptr<Core> m_core;
    std::vector<Interception::Redirection> m_redirections; // put back in the opposite order
};

} // namespace Zv::Simulator
