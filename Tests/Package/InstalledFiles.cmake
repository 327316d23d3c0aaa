# cmake --install puts down just the files of Files.txt, and the ZIP holds the same.
include(${CMAKE_CURRENT_LIST_DIR}/Step.cmake)

file(STRINGS ${SOURCE}/Files.txt expected)
list(SORT expected)

function(check_files what folder)
  file(GLOB_RECURSE found RELATIVE ${folder} ${folder}/*)
  list(SORT found)
  if(NOT found STREQUAL expected)
    list(JOIN found "\n  " found)
    list(JOIN expected "\n  " expected)
    message(FATAL_ERROR "${what} holds\n  ${found}\nand should hold\n  ${expected}")
  endif()
endfunction()

step(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/installed)
check_files("The installation" ${WORK}/installed)

step(${CMAKE_CPACK_COMMAND} --config ${BUILD}/CPackConfig.cmake -G ZIP -B ${WORK}/packed)
file(GLOB archive ${WORK}/packed/*.zip)
file(MAKE_DIRECTORY ${WORK}/unpacked)
execute_process(COMMAND ${CMAKE_COMMAND} -E tar xf ${archive} WORKING_DIRECTORY ${WORK}/unpacked
                COMMAND_ERROR_IS_FATAL ANY)
file(GLOB top ${WORK}/unpacked/*)
check_files("The ZIP" ${top})
