# What an installation has beside the programs and libraries: the way to find them. Nothing of it names
# the place where it was installed, so that the tree can be moved.
include(CMakePackageConfigHelpers)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/plx)
install(EXPORT plxTargets NAMESPACE plx:: DESTINATION ${package_folder})
configure_package_config_file(cmake/plxConfig.cmake.in ${PROJECT_BINARY_DIR}/plxConfig.cmake
  INSTALL_DESTINATION ${package_folder})
# Until version 1, what was built against 0.1 is not promised to work with 0.2.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/plxConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/plxConfig.cmake ${PROJECT_BINARY_DIR}/plxConfigVersion.cmake
  DESTINATION ${package_folder})

file(RELATIVE_PATH way_to_prefix
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" way_to_prefix "${way_to_prefix}")
configure_file(cmake/plx.pc.in ${PROJECT_BINARY_DIR}/plx.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/plx.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

# A Debian package: cpack in the build folder. Its dependencies are those of the files in it.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME plx)
set(CPACK_PACKAGE_CONTACT "plx maintainers <maintainers@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "sets one component of every datetime: command line, module, host")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The command line needs the host library, which is in the package itself.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "libboost-dev")
include(CPack)
