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
