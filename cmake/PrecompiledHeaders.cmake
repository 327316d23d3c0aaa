# zv_precompile_headers(TARGET LEVEL)
# Compiles TARGET with the optimization -O1 or -O2 (LEVEL is 1 or 2) and with the headers of Windows and of the C++
# library parsed beforehand: most of what one of its files costs is their parsing. All targets of one level share them.
# GCC takes the level of such headers for the whole file, so that a file with one of its own must go without them.
# No file may rely on them: the preset msvc-abi-check and scripts/lint.sh compile without.
function(zv_precompile_headers target level)
  if(MSVC OR ZV_COVERAGE)
    return()
  endif()

  set(headers PrecompiledHeadersO${level})
  if(NOT TARGET ${headers})
    file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/${headers}.cpp CONTENT "")
    add_library(${headers} OBJECT ${PROJECT_BINARY_DIR}/${headers}.cpp)
    target_link_libraries(${headers} PRIVATE ZvProject)
    target_compile_options(${headers} PRIVATE -O${level})
    target_precompile_headers(${headers} PRIVATE
      <windows.h> <oleauto.h> <wbemidl.h>
      <algorithm> <array> <atomic> <chrono> <filesystem> <functional> <map> <memory> <mutex> <optional> <set> <span>
      <stdexcept> <string> <string_view> <system_error> <thread> <utility> <variant> <vector>)
  endif()

  target_compile_options(${target} PRIVATE -O${level})
  target_precompile_headers(${target} REUSE_FROM ${headers})
endfunction()

# GCC 12 holds code of the C++ library that comes from a precompiled header for the project's own, and sees accesses in
# it that never happen. For targets that meet such false alarms; the module does not.
if(NOT MSVC)
  set(ZV_FALSE_ALARMS -Wno-array-bounds -Wno-stringop-overflow -Wno-stringop-overread)
endif()
