# Compiles for the Microsoft C++ ABI on Linux: clang, MinGW-w64's C headers, libc++'s headers. Nothing is linked, as
# there is no C++ standard library to link with: this proves that the sources compile for that ABI and shows what it
# makes of the classes.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_CXX_COMPILER clang++-19)
set(CMAKE_CXX_COMPILER_TARGET x86_64-pc-windows-msvc)
# CMake asks the compiler about itself with a static library instead of a program.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_AR x86_64-w64-mingw32-ar)
set(CMAKE_RANLIB x86_64-w64-mingw32-ranlib)
# CMake asks for one with this compiler, though nothing here has resources.
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# MicrosoftAbiAdjustments.h says what the headers need and why.
set(CMAKE_CXX_FLAGS_INIT "-fgnuc-version=12 -fexceptions -fcxx-exceptions -nostdinc++ \
-include \"${CMAKE_CURRENT_LIST_DIR}/MicrosoftAbiAdjustments.h\" \
-isystem /usr/lib/llvm-19/include/c++/v1 -isystem /usr/x86_64-w64-mingw32/include")
