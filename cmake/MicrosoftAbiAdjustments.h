// Included before everything else by the preset msvc-abi-check: what MinGW-w64's C headers and libc++'s headers need to
// be told so that clang can compile for the Microsoft ABI with them. A real build for Windows uses none of this.
#pragma once

// libc++ takes the exception classes and the heap operators from Microsoft's vcruntime headers, which are not here;
// it has its own.
#define _LIBCPP_NO_VCRUNTIME

// libc++ leaves out the mathematical functions (isnan and others) that Microsoft's C headers define for C++; those of
// MinGW-w64 do not. With this it takes the C headers for what they are.
#define __MINGW32__ 1

// MinGW-w64's headers look for the macro that GCC defines; here __declspec is a keyword.
#define __declspec __declspec

// MinGW-w64's intrin.h includes clang's header of 3dNow! instructions, which warns that it is out of date.
#define _MM3DNOW_H_INCLUDED

// Its printf and scanf are those of Microsoft's C run time, and no functions of its own beside them.
#define __USE_MINGW_ANSI_STDIO 0

// __uuidof goes by an attribute that MinGW-w64's interfaces do not have; its own way is for compilers without _MSC_VER.
#pragma push_macro("_MSC_VER")
#undef _MSC_VER
#include <_mingw.h>
#pragma pop_macro("_MSC_VER")
