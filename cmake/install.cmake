# Install rules: the library, its headers under include/zrbbase, the host kit under include/zrbbase/host, the tool,
# and the descriptions for find_package(zrbbase) and pkg-config.
include(CMakePackageConfigHelpers)

set(zrbbase_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zrbbase)

install(TARGETS zrbbase zrb_host EXPORT zrbbaseTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zrbbase
  FILES_MATCHING PATTERN "*.h")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/host/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zrbbase/host
  FILES_MATCHING PATTERN "*.h")
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})

if(TARGET zrb)
  # The installed tool finds the library beside it, wherever the prefix is moved to.
  file(RELATIVE_PATH zrb_libdir_from_bindir ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(zrb PROPERTIES INSTALL_RPATH "$ORIGIN/${zrb_libdir_from_bindir}")
  install(TARGETS zrb RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

install(EXPORT zrbbaseTargets NAMESPACE zrb:: DESTINATION ${zrbbase_package_dir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/zrbbaseConfig.cmake.in
  ${PROJECT_BINARY_DIR}/zrbbaseConfig.cmake INSTALL_DESTINATION ${zrbbase_package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zrbbaseConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zrbbaseConfig.cmake ${PROJECT_BINARY_DIR}/zrbbaseConfigVersion.cmake
  DESTINATION ${zrbbase_package_dir})

file(RELATIVE_PATH zrb_prefix_from_pcdir
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" zrb_prefix_from_pcdir "${zrb_prefix_from_pcdir}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/zrbbase.pc.in ${PROJECT_BINARY_DIR}/zrbbase.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zrbbase.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
