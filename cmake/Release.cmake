# The target `release`: what cmake --install puts down, with completions, an SBOM and checksums, as one ZIP that is the
# same wherever a commit is built. It lies in the folder release of the build.
find_package(Python3 COMPONENTS Interpreter)
if(NOT Python3_Interpreter_FOUND)
  message(STATUS "No Python 3: there is no target release")
  return()
endif()

configure_file(cmake/Components.json.in ${PROJECT_BINARY_DIR}/Components.json @ONLY)
set(release_command ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/cmake/release.py
  --cmake ${CMAKE_COMMAND} --source ${PROJECT_SOURCE_DIR} --build ${PROJECT_BINARY_DIR} --config $<CONFIG>
  --compiler ${CMAKE_CXX_COMPILER_ID} --emulator=${CMAKE_CROSSCOMPILING_EMULATOR})
set(with_site "")
if(TARGET docs)
  set(with_site --site ${PROJECT_SOURCE_DIR}/build/site)
endif()
add_custom_target(release COMMAND ${release_command} ${with_site} --output ${PROJECT_BINARY_DIR}/release VERBATIM)
add_dependencies(release WMIService Logging wmihost)
if(with_site)
  add_dependencies(release docs)
endif()
