# Read by ctest: adds one test per GoogleTest suite of `executable`. The program is asked for its suites only when it is
# newer than the answer kept in `suites_file`. Output that matches `crash` is a failure whatever the exit code.
if(NOT EXISTS ${executable})
  add_test(${program} ${executable}) # not built: a failure, never a silent pass
  return()
endif()

if(NOT EXISTS ${suites_file} OR ${executable} IS_NEWER_THAN ${suites_file} OR
   ${CMAKE_CURRENT_LIST_FILE} IS_NEWER_THAN ${suites_file})
  execute_process(COMMAND ${emulator} ${executable} --gtest_list_tests
    OUTPUT_VARIABLE listing ERROR_VARIABLE errors RESULT_VARIABLE result TIMEOUT 120)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${executable} --gtest_list_tests failed (${result}):\n${listing}${errors}")
  endif()
  string(REGEX REPLACE "[ \t]*#[^\n]*" "" listing "${listing}") # the values of parameters
  string(REGEX MATCHALL "(^|\n)[A-Za-z0-9_/]+\\." suites "${listing}")
  set(content "")
  set(runner ${emulator})
  list(TRANSFORM runner REPLACE "(.+)" "[==[\\1]==]") # its folder may have a blank
  foreach(suite ${suites})
    string(STRIP "${suite}" suite) # ends with the dot
    string(REGEX REPLACE "\\.$" "" name "${suite}")
    string(APPEND content
      "add_test([==[${program}:${name}]==] ${runner} [==[${executable}]==] [==[--gtest_filter=${suite}*]==])\n"
      "set_tests_properties([==[${program}:${name}]==] PROPERTIES TIMEOUT ${timeout} LABELS ${program}"
      " FAIL_REGULAR_EXPRESSION [==[${crash}]==])\n")
  endforeach()
  file(WRITE ${suites_file} "${content}")
endif()
include(${suites_file})
