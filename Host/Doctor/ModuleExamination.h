// The module's files and the rights of the account that runs it.
#pragma once

#include "Host/CommandLine/Environment.h"
#include "Host/Doctor/Finding.h"

namespace Zv::Host
{

// Throws Failure(ModuleMissing).
[[nodiscard]] Findings ExamineModule(Environment& environment);

// Of this machine's account; a simulated machine asks for no rights.
[[nodiscard]] Findings ExamineAccount();

// Whether the account may ask for the token of the signed-in user.
[[nodiscard]] bool MayAskForUsers();

} // namespace Zv::Host
