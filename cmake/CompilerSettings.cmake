# ZvProject: the language settings and warnings that every target of this project compiles with.
add_library(ZvProject INTERFACE)
target_compile_definitions(ZvProject INTERFACE UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX)
target_compile_features(ZvProject INTERFACE cxx_std_20)
target_include_directories(ZvProject INTERFACE ${PROJECT_SOURCE_DIR})

if(MSVC)
  # The C++ run time is linked into each binary, the C run time is Windows' own: Windows 10 ships the latter (ucrtbase)
  # and not the former, so nothing has to be installed beside the module. FreeBuffer needs no agreement with the host
  # either way, as both sides of it are in the module. Packages must be built for the static run time (x64-windows-static).
  set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")
  set(CMAKE_MSVC_DEBUG_INFORMATION_FORMAT ProgramDatabase)
  # C4702 comes from templates of libraries, where an instance never returns: the code behind it is not the project's.
  set(options /W4 /wd4702 /WX /permissive- /utf-8 /EHsc /Zc:__cplusplus /Zc:preprocessor /guard:cf /Qspectre)
  target_compile_options(ZvProject INTERFACE "$<$<COMPILE_LANGUAGE:CXX>:${options}>")
  # /DEBUG makes the PDB; without the two /OPT it would keep unused code.
  target_link_options(ZvProject INTERFACE /guard:cf /CETCOMPAT /DEBUG /OPT:REF /OPT:ICF /INCREMENTAL:NO
    /NODEFAULTLIB:libucrt$<$<CONFIG:Debug>:d>.lib /DEFAULTLIB:ucrt$<$<CONFIG:Debug>:d>.lib)
else()
  # Windows 10 is the oldest system that the module runs on.
  target_compile_definitions(ZvProject INTERFACE _WIN32_WINNT=0x0A00 WINVER=0x0A00 NTDDI_VERSION=0x0A000000)
  set(options -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}/= -ffunction-sections -fdata-sections)
  target_compile_options(ZvProject INTERFACE "$<$<COMPILE_LANGUAGE:CXX>:${options}>")
  # The GNU runtime is part of each binary; time stamps would make two builds of one commit differ.
  target_link_options(ZvProject INTERFACE -static -static-libgcc -static-libstdc++ -Wl,--no-insert-timestamp
    -Wl,--gc-sections -Wl,--dynamicbase -Wl,--high-entropy-va -Wl,--nxcompat)

  # Line tables suffice for stack traces and keep links quick.
  string(REPLACE "-g " "-g1 " CMAKE_CXX_FLAGS_RELWITHDEBINFO "${CMAKE_CXX_FLAGS_RELWITHDEBINFO} ")

  find_program(CCACHE_PROGRAM ccache)
  if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
  endif()
endif()

# zv_split_symbols(TARGET)
# Moves the debug information of a DLL or program into a file beside it, TARGET.dll.debug, which debuggers find by its
# name. With Microsoft's compiler it is in a PDB file anyway.
function(zv_split_symbols target)
  if(MSVC OR ZV_COVERAGE)
    return()
  endif()
  set(objcopy ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0 ${CMAKE_OBJCOPY}) # or it stamps the time into the header
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${objcopy} --only-keep-debug $<TARGET_FILE:${target}> $<TARGET_FILE:${target}>.debug
    COMMAND ${objcopy} --strip-all --add-gnu-debuglink=$<TARGET_FILE_NAME:${target}>.debug
            $<TARGET_FILE:${target}>
    WORKING_DIRECTORY $<TARGET_FILE_DIR:${target}> VERBATIM)
endfunction()
