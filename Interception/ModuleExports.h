// Using the classes that WMIService.dll exports, whichever file of the disk the module is loaded from.
#pragma once

#include <windows.h>

namespace Zv::Interception
{

// A program that links with the target ModuleExports uses the exported classes as if they were its own. Their calls are
// bound when they are first made, and from here on to this module, which must stay loaded as long as it is used so.
// Without this they go to the WMIService.dll that the loader finds. A function that the module does not export throws
// std::runtime_error when it is called.
void BindModuleExports(HMODULE module) noexcept;

} // namespace Zv::Interception
