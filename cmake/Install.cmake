# What is installed, and the packages made of it. Component Runtime: the libraries, the terminal and its samples;
# component Development: what programs are built with.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(headers_dir "${CMAKE_INSTALL_INCLUDEDIR}/meterdatabase")
set(cmake_dir "${CMAKE_INSTALL_LIBDIR}/cmake/MeterDatabase")
set(documents_dir "${CMAKE_INSTALL_DATAROOTDIR}/doc/meterdatabase")
set(libraries MeterUtil MeterDatabase)

# ---- libraries and headers

# A library finds the other one beside itself, wherever the tree was put.
set_target_properties(${libraries} PROPERTIES INSTALL_RPATH "$ORIGIN")
install(TARGETS ${libraries} MeterInterface EXPORT MeterDatabaseTargets
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT Runtime
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT Runtime NAMELINK_COMPONENT Development
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT Development
  INCLUDES DESTINATION "${headers_dir}")
foreach(header MeterDatabase/MeterDatabase.h MeterUtil/MeterIniFile.h MeterInterface/MeterInterface.h Platform/Export.h)
  get_filename_component(folder "${header}" DIRECTORY)
  install(FILES "${header}" DESTINATION "${headers_dir}/${folder}" COMPONENT Development)
endforeach()

# ---- what other projects find them with

install(EXPORT MeterDatabaseTargets NAMESPACE MeterDatabase:: DESTINATION "${cmake_dir}" COMPONENT Development
  FILE MeterDatabaseConfig.cmake)
write_basic_package_version_file(MeterDatabaseConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/MeterDatabaseConfigVersion.cmake" DESTINATION "${cmake_dir}"
  COMPONENT Development)

file(RELATIVE_PATH prefix_from_pkgconfig "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/MeterDatabase.pc.in MeterDatabase.pc @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/MeterDatabase.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
  COMPONENT Development)

# ---- the terminal, its samples, the pages

if(TARGET meterdb)
  file(RELATIVE_PATH libraries_from_terminal "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
  set_target_properties(meterdb PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries_from_terminal}")
  install(TARGETS meterdb DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT Runtime)
  install(DIRECTORY samples/ DESTINATION "${documents_dir}/samples" COMPONENT Runtime)
  get_target_property(terminal_dir meterdb BINARY_DIR)
  if(NOT CMAKE_CROSSCOMPILING AND NOT WIN32)
    install(FILES "${terminal_dir}/meterdb.1" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT Runtime)
    install(FILES "${terminal_dir}/meterdb.bash" RENAME meterdb COMPONENT Runtime
      DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions")
    install(FILES "${terminal_dir}/meterdb.fish" COMPONENT Runtime
      DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/fish/vendor_completions.d")
  endif()
endif()
install(FILES README.md DESTINATION "${documents_dir}" COMPONENT Runtime)
install(DIRECTORY docs DESTINATION "${documents_dir}" COMPONENT Runtime)

# ---- packages

set(CPACK_PACKAGE_NAME meterdatabase)
set(CPACK_PACKAGE_CONTACT "MeterDatabase maintainers <maintainers@meterdatabase.invalid>")
set(CPACK_PACKAGE_FILE_NAME "meterdatabase-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR}")
set(CPACK_PACKAGE_DIRECTORY "${CMAKE_BINARY_DIR}/packages")
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR ZIP)
if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
  list(APPEND CPACK_GENERATOR DEB)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME meterdatabase)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME meterdatabase-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "What programs are built with.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "meterdatabase (= ${PROJECT_VERSION})")
include(CPack)
