# cmake --install, the CMake package that hosts find, and the ZIP of both.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# What a host includes: one header and what it needs.
add_library(WMIServiceInterface INTERFACE)
target_compile_features(WMIServiceInterface INTERFACE cxx_std_20)
target_sources(WMIServiceInterface INTERFACE FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES
  ${PROJECT_SOURCE_DIR}/Shared/Contract/ProgressCallback.h
  ${PROJECT_SOURCE_DIR}/Shared/Contract/ResultCode.h
  ${PROJECT_SOURCE_DIR}/Services/ZVService.h)
set_target_properties(WMIServiceInterface PROPERTIES EXPORT_NAME Interface)

if(TARGET Logging)
  target_sources(WMIServiceInterface INTERFACE FILE_SET HEADERS FILES
    ${PROJECT_SOURCE_DIR}/Logging/Logging.h ${PROJECT_SOURCE_DIR}/Logging/Sinks.h)
  install(FILES $<TARGET_LINKER_FILE:Logging> DESTINATION ${CMAKE_INSTALL_LIBDIR})
  set(logging_import_library ${CMAKE_IMPORT_LIBRARY_PREFIX}Logging${CMAKE_IMPORT_LIBRARY_SUFFIX})
endif()
install(TARGETS WMIServiceInterface EXPORT WMIServiceTargets
        FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/WMIService)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/WMIService)
install(EXPORT WMIServiceTargets NAMESPACE WMIService:: DESTINATION ${package_folder})

# Hosts load the module and do not link to it: no import library of it is installed. Debuggers find symbols beside a
# binary.
set(binaries WMIService)
foreach(target Logging wmihost)
  if(TARGET ${target})
    list(APPEND binaries ${target})
  endif()
endforeach()
foreach(target ${binaries})
  install(PROGRAMS $<TARGET_FILE:${target}> DESTINATION ${CMAKE_INSTALL_BINDIR})
  if(MSVC)
    install(FILES $<TARGET_PDB_FILE:${target}> DESTINATION ${CMAKE_INSTALL_BINDIR})
  elseif(NOT ZV_COVERAGE)
    install(FILES $<TARGET_FILE:${target}>.debug DESTINATION ${CMAKE_INSTALL_BINDIR})
  endif()
endforeach()
if(TARGET wmihost)
  install(DIRECTORY Simulator/machines Simulator/schema DESTINATION ${CMAKE_INSTALL_DATADIR}/WMIService)
  # Those that "wmihost completion" prints; a machine that cross-compiles cannot ask it.
  install(FILES Host/Completion/wmihost.bash Host/Completion/wmihost.ps1
          DESTINATION ${CMAKE_INSTALL_DATADIR}/WMIService/completions)
endif()

configure_package_config_file(cmake/WMIServiceConfig.cmake.in ${PROJECT_BINARY_DIR}/WMIServiceConfig.cmake
  INSTALL_DESTINATION ${package_folder} PATH_VARS CMAKE_INSTALL_BINDIR CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/WMIServiceConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/WMIServiceConfig.cmake ${PROJECT_BINARY_DIR}/WMIServiceConfigVersion.cmake
        DESTINATION ${package_folder})
# The release shows itself.
install(PROGRAMS scripts/release-demo.sh DESTINATION scripts RENAME demo.sh)
install(PROGRAMS scripts/wine-run.sh DESTINATION scripts)
install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY LICENSES docs DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_VENDOR Zv)
set(CPACK_PACKAGE_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION}-x64)
set(CPACK_VERBATIM_VARIABLES TRUE)
include(CPack)
