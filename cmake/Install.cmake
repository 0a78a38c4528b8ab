# cmake --install: the program, the engine, larkspur with its headers, a CMake package, and the samples as a
# set-up directory. With the default prefix, that is the program's default set-up path.
install(DIRECTORY samples/Samples DESTINATION qbsvr6)
install(TARGETS larkspur EXPORT qbsvrtest-targets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES larkspur.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qbsvrtest)
foreach(folder common json format engine)
  file(GLOB headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.h)
  install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qbsvrtest/${folder})
endforeach()
configure_file(cmake/qbsvrl6.pc.in ${PROJECT_BINARY_DIR}/qbsvrl6.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qbsvrl6.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(EXPORT qbsvrtest-targets NAMESPACE qbsvrtest:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/qbsvrtest)
configure_package_config_file(cmake/qbsvrtest-config.cmake.in ${PROJECT_BINARY_DIR}/qbsvrtest-config.cmake
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/qbsvrtest)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qbsvrtest-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qbsvrtest-config.cmake ${PROJECT_BINARY_DIR}/qbsvrtest-config-version.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/qbsvrtest)
