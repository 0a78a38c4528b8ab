# cmake --install: the programs, the engine with its headers, larkspur, a CMake package, manual pages, and the
# samples as a set-up folder. With the default prefix, that is the default set-up folder of qbsvrtest.
set(include_dir ${CMAKE_INSTALL_INCLUDEDIR}/qbsvrtest)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qbsvrtest)

install(DIRECTORY samples/Samples DESTINATION ${QBSVR_SETUP_DIR})
install(TARGETS larkspur EXPORT qbsvrtest-targets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES larkspur.h DESTINATION ${include_dir})
foreach(folder common json format engine)
  file(GLOB headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.h)
  install(FILES ${headers} DESTINATION ${include_dir}/${folder})
endforeach()

install(EXPORT qbsvrtest-targets NAMESPACE qbsvrtest:: DESTINATION ${package_dir})
configure_package_config_file(cmake/qbsvrtest-config.cmake.in ${PROJECT_BINARY_DIR}/qbsvrtest-config.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qbsvrtest-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qbsvrtest-config.cmake ${PROJECT_BINARY_DIR}/qbsvrtest-config-version.cmake
    DESTINATION ${package_dir})

install(FILES docs/man/qbsvrtest.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
if(QBSVR_ENGINE_LIBRARY)
  return()
endif()
install(FILES docs/man/qbreport.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES docs/man/qbsvr.3 DESTINATION ${CMAKE_INSTALL_MANDIR}/man3)
install(FILES docs/man/qbf.5 DESTINATION ${CMAKE_INSTALL_MANDIR}/man5)
install(FILES docs/template-format.xsd DESTINATION ${CMAKE_INSTALL_DATADIR}/qbsvrl6)
# The prefix is known when it is installed: cmake --install --prefix may change it.
install(CODE "
  get_filename_component(prefix \"\${CMAKE_INSTALL_PREFIX}\" ABSOLUTE)
  set(version ${PROJECT_VERSION})
  set(engine_dir ${QBSVR_ENGINE_DIR})
  set(include_dir ${include_dir})
  set(schema_dir ${CMAKE_INSTALL_DATADIR}/qbsvrl6)
  configure_file(\"${PROJECT_SOURCE_DIR}/cmake/qbsvrl6.pc.in\" \"${PROJECT_BINARY_DIR}/qbsvrl6.pc\" @ONLY)")
install(FILES ${PROJECT_BINARY_DIR}/qbsvrl6.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
