# The libraries that the project calls: RapidJSON (module, simulator), CLI11 (host program), GoogleTest (tests).
# A native build takes them from the package manager. A cross build must not see /usr/include, so there the two
# header-only libraries are copied into the build tree, and GoogleTest is compiled from Debian's source package.
if(CMAKE_CROSSCOMPILING)
  set(stage ${CMAKE_BINARY_DIR}/third-party/include)
  foreach(package rapidjson CLI)
    if(NOT EXISTS /usr/include/${package})
      message(FATAL_ERROR "/usr/include/${package} is missing: install Debian's rapidjson-dev and libcli11-dev "
                          "(scripts/test.sh does this)")
    endif()
    file(COPY /usr/include/${package} DESTINATION ${stage} PATTERN document.h EXCLUDE)
  endforeach()
  # RapidJSON 1.1 assigns to a const member in a function that nobody calls, which clang refuses to compile.
  file(READ /usr/include/rapidjson/document.h document)
  string(REPLACE "operator=(const GenericStringRef& rhs) { s = rhs.s; length = rhs.length; }"
                 "operator=(const GenericStringRef& rhs);" document "${document}")
  file(CONFIGURE OUTPUT ${stage}/rapidjson/document.h CONTENT "${document}" @ONLY)

  add_library(rapidjson INTERFACE)
  target_include_directories(rapidjson SYSTEM INTERFACE ${stage})
  add_library(CLI11::CLI11 INTERFACE IMPORTED GLOBAL)
  target_include_directories(CLI11::CLI11 SYSTEM INTERFACE ${stage})

  if(ZV_BUILD_TESTS AND NOT ZV_COMPILE_ONLY)
    set(INSTALL_GTEST OFF)
    add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/third-party/googletest EXCLUDE_FROM_ALL SYSTEM)
    foreach(target gtest gmock gtest_main gmock_main)
      target_compile_options(${target} PRIVATE -O0) # they take long to compile and, in the tests, no time to run
    endforeach()
  endif()
else()
  find_package(RapidJSON CONFIG REQUIRED)
  find_package(CLI11 CONFIG REQUIRED)
  if(ZV_BUILD_TESTS)
    find_package(GTest CONFIG REQUIRED)
  endif()
endif()
