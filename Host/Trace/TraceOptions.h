// What "wmihost trace" was asked for.
#pragma once

#include <string>

namespace Zv::Host::Tracing
{

struct TraceOptions
{
    bool json = false;    // an object per call and line, for programs
    bool memory = false;  // calls that only take and give memory, too
    bool data = false;    // the firmware's bytes
    std::string fileName; // empty: standard error
};

} // namespace Zv::Host::Tracing
