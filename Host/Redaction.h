// Keeps what tells about a machine's owner out of a recorded description.
#pragma once

#include "Simulator/Description.h"

namespace Zv::Host
{

// Replaces serial numbers and the like, user names and passwords in all instances: the values of properties that hold
// them, settings of such names, folders of users, and what was found so wherever else it stands. The same text has the
// same replacement everywhere, so that keys stay distinct and objects still refer to each other.
void Redact(Simulator::Description& description);

} // namespace Zv::Host
