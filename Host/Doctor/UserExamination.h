// The signed-in user, as far as the module starts apps for that user.
#pragma once

#include "Host/CommandLine/Environment.h"
#include "Host/Doctor/Finding.h"

namespace Zv::Host
{

// The session API, the user's token, and the companion apps' packages; all by the module's launcher. Throws
// Failure(ModuleMissing).
[[nodiscard]] Findings ExamineUser(Environment& environment);

} // namespace Zv::Host
