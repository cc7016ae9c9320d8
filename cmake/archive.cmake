# What `cpack --preset windows` packs: the program and what an administrator needs beside it. The
# library's package is another matter (`cmake --install`), and an installation of it leaves these out.
configure_file(tools/loadprobe/ADMINS.txt ADMINS.txt @ONLY NEWLINE_STYLE CRLF)
configure_file(LICENSE LICENSE.txt @ONLY NEWLINE_STYLE CRLF)
file(GLOB settings CONFIGURE_DEPENDS tools/loadprobe/settings/*.reg)
install(TARGETS loadprobe RUNTIME DESTINATION . COMPONENT program EXCLUDE_FROM_ALL)
install(FILES ${settings} ${CMAKE_CURRENT_BINARY_DIR}/ADMINS.txt
  ${CMAKE_CURRENT_BINARY_DIR}/LICENSE.txt
  DESTINATION . COMPONENT program EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_NAME loadprobe)
set(CPACK_PACKAGE_VENDOR Korinth)
set(CPACK_PACKAGE_FILE_NAME loadprobe-${PROJECT_VERSION}-windows-x64)
set(CPACK_COMPONENTS_ALL program)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY ON)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR})
include(CPack)
