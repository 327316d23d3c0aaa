# A host project outside of this source tree finds the package, includes the one header, loads the module and runs a
# command with it. The package is what the build installs, or lies in PREFIX already.
include(${CMAKE_CURRENT_LIST_DIR}/Step.cmake)

if(NOT PREFIX)
  set(PREFIX ${WORK}/prefix)
  step(${CMAKE_COMMAND} --install ${BUILD} --prefix ${PREFIX})
endif()
file(COPY ${SOURCE}/consumer DESTINATION ${WORK})

if(EMULATOR)
  set(system -DCMAKE_SYSTEM_NAME=Windows -DCMAKE_RC_COMPILER=x86_64-w64-mingw32-windres)
endif()
step(${CMAKE_COMMAND} -S consumer -B build -G ${GENERATOR} ${system} -DCMAKE_CXX_COMPILER=${COMPILER}
     -DCMAKE_BUILD_TYPE=${CONFIG} -DCMAKE_PREFIX_PATH=${PREFIX})
step(${CMAKE_COMMAND} --build build)
step(${EMULATOR} ${WORK}/build/consumer.exe)
if(NOT output MATCHES "^0 {\"result\":")
  message(FATAL_ERROR "The host printed:\n${output}")
endif()
step(${EMULATOR} ${WORK}/build/listener.exe)
if(NOT output MATCHES "logged: a line")
  message(FATAL_ERROR "The host that listens to the log printed:\n${output}")
endif()
