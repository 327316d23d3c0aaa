# zv_add_import_library(TARGET DEF)
# Makes an import library from a .def file, for system functions that the compiler's own import libraries lack, and
# TARGET to link with it. DEF is named after the DLL that it imports from.
function(zv_add_import_library target def)
  get_filename_component(name ${def} NAME_WE)
  get_filename_component(def ${def} ABSOLUTE)
  set(library ${CMAKE_CURRENT_BINARY_DIR}/${target}${CMAKE_STATIC_LIBRARY_SUFFIX})
  if(MSVC)
    set(command ${CMAKE_AR} /nologo /machine:x64 /def:${def} /out:${library})
  else()
    # The names of the temporary files and of the library stay in it, and decide the order of the module's import table:
    # neither may hold the folder of the build.
    get_filename_component(output ${library} NAME)
    set(command ${CMAKE_DLLTOOL} --machine i386:x86-64 --temp-prefix ${name} --input-def ${def} --output-lib ${output})
  endif()
  add_custom_command(OUTPUT ${library} COMMAND ${command} DEPENDS ${def} VERBATIM
                     WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}
                     COMMENT "Making an import library for ${name}.dll")
  add_custom_target(${target}-library DEPENDS ${library})
  add_library(${target} INTERFACE)
  add_dependencies(${target} ${target}-library)
  target_link_libraries(${target} INTERFACE ${library})
endfunction()
