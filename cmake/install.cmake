include(CMakePackageConfigHelpers)

install(TARGETS zopim6 EXPORT zopim6Targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES include/zopi.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/zopi DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")

set(ZOPI_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/zopim6)
install(EXPORT zopim6Targets NAMESPACE zopim6:: DESTINATION ${ZOPI_PACKAGE_DIR} FILE zopim6Config.cmake)
write_basic_package_version_file(zopim6ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zopim6ConfigVersion.cmake DESTINATION ${ZOPI_PACKAGE_DIR})

configure_file(cmake/zopim6.pc.in zopim6.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zopim6.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
