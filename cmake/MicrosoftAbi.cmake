# Programs for the Microsoft ABI, made on Linux by clang and lld from MinGW-w64's C headers and import libraries. There
# is no C++ standard library for them.
find_program(ZV_CLANG clang++-19 REQUIRED)
find_program(ZV_LLD_LINK lld-link-19 REQUIRED)

# -fgnuc-version: without it MinGW-w64's headers take a compiler that does not say _MSC_VER for one they do not know.
set(ZV_MICROSOFT_ABI_FLAGS --target=x86_64-pc-windows-msvc -fgnuc-version=12 -std=c++20
  -isystem /usr/x86_64-w64-mingw32/include)

# zv_add_microsoft_host(NAME SOURCES file... [IMPORTS target...])
# Builds the console program NAME.exe, whose entry point is HostMain, beside the test programs. IMPORTS are targets of
# zv_add_import_library.
function(zv_add_microsoft_host name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;IMPORTS")
  set(objects "")
  foreach(source ${arg_SOURCES})
    get_filename_component(base ${source} NAME_WE)
    set(object ${CMAKE_CURRENT_BINARY_DIR}/${name}/${base}.obj)
    add_custom_command(OUTPUT ${object}
      COMMAND ${ZV_CLANG} ${ZV_MICROSOFT_ABI_FLAGS} -O2 -g0 -fexceptions -fcxx-exceptions -fno-threadsafe-statics
              -Wall -Wextra -Werror -I${PROJECT_SOURCE_DIR} -DUNICODE -DWIN32_LEAN_AND_MEAN -DNOMINMAX
              -ffile-prefix-map=${PROJECT_SOURCE_DIR}/= -MD -MF ${object}.d -c ${source} -o ${object}
      DEPENDS ${source} DEPFILE ${object}.d VERBATIM
      COMMENT "Building ${base}.obj for the Microsoft ABI")
    list(APPEND objects ${object})
  endforeach()

  set(libraries "")
  foreach(import ${arg_IMPORTS})
    list(APPEND libraries $<TARGET_PROPERTY:${import},INTERFACE_LINK_LIBRARIES>)
  endforeach()
  set(executable ${tests_output_dir}/${name}.exe)
  add_custom_command(OUTPUT ${executable}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_CURRENT_BINARY_DIR}/${name} ${tests_output_dir}
    COMMAND ${ZV_LLD_LINK} /nologo /entry:HostMain /subsystem:console /out:${executable} ${objects} ${libraries}
            /libpath:/usr/x86_64-w64-mingw32/lib libkernel32.a libuser32.a
    DEPENDS ${objects} ${arg_IMPORTS} VERBATIM
    COMMENT "Linking ${name}.exe for the Microsoft ABI")
  add_custom_target(${name} ALL DEPENDS ${executable})
  add_dependencies(${name} WMIService)
endfunction()
