# What `cmake --install` puts in place: headers below include/kr, the library, and what CMake and
# pkg-config need to find it, beside the toolchain file that builds programs for Windows.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(kr_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/kr)
install(TARGETS kr EXPORT kr-targets COMPONENT library
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kr)
install(EXPORT kr-targets NAMESPACE kr:: DESTINATION ${kr_package_dir} COMPONENT library)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/kr-config.cmake.in kr-config.cmake
  INSTALL_DESTINATION ${kr_package_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(kr-config-version.cmake VERSION ${PROJECT_VERSION}
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/kr-config.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/kr-config-version.cmake
  ${PROJECT_SOURCE_DIR}/cmake/windows.toolchain.cmake
  DESTINATION ${kr_package_dir} COMPONENT library)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/kr COMPONENT library)

# The package file finds the folders from where it lies, so that an installation can be moved. Where
# the folder of libraries is an absolute path, the prefix is the one of the configuration.
set(kr_pc_prefix ${CMAKE_INSTALL_PREFIX})
if(NOT IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  file(RELATIVE_PATH way /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
  string(REGEX REPLACE "/$" "" way ${way})
  set(kr_pc_prefix "\${pcfiledir}/${way}")
endif()
foreach(name IN ITEMS LIBDIR INCLUDEDIR)
  set(kr_pc_${name} ${CMAKE_INSTALL_${name}})
  if(NOT IS_ABSOLUTE ${kr_pc_${name}})
    string(PREPEND kr_pc_${name} "\${prefix}/")
  endif()
endforeach()
list(JOIN kr_pkg_config_libraries " " kr_pkg_config_libraries)
configure_file(${PROJECT_SOURCE_DIR}/cmake/kr.pc.in kr.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/kr.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT library)
