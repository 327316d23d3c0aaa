// What tests expect differently of a module that another compiler built: one header per build, with the same names.
#pragma once

#if defined(_MSC_VER)
#include "Tests/Support/Builds/VisualStudio.h"
#else
#include "Tests/Support/Builds/Gcc.h"
#endif
