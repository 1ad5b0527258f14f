# Debian packages, by cpack in the build folder: libplx-host1, libplx1, libplx-dev, plx and, where the package for Python
# is built (python/CMakeLists.txt has its files), python3-plx. CPack puts the files of each in a
# folder; packaging/debian/assemble makes packages of the folders with Debian's own tools, which know the
# dependencies, the symbols and the fields that CPack's generator of packages does not.
if(NOT CMAKE_LIBRARY_ARCHITECTURE)
  message(STATUS "no Debian packages: the compiler names no multiarch folder for libraries")
  return()
endif()

# Debian's folders, whatever this build installs into otherwise. Libraries in them are found without a RUNPATH.
block()
  set(CMAKE_INSTALL_BINDIR bin)
  set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE})
  set(CMAKE_INSTALL_INCLUDEDIR include)
  set(CMAKE_INSTALL_DATAROOTDIR share)
  set(CMAKE_INSTALL_DATADIR share)
  set(CMAKE_INSTALL_MANDIR share/man)
  plx_install(plxDebianTargets HOST libplx-host1 LIBRARY libplx1 DEVELOPMENT libplx-dev TOOL plx
    ZSH_FOLDER zsh/vendor-completions EXCLUDE_FROM_ALL)
endblock()

set(CPACK_GENERATOR External)
set(CPACK_EXTERNAL_ENABLE_STAGING ON)
set(CPACK_EXTERNAL_PACKAGE_SCRIPT ${PROJECT_SOURCE_DIR}/packaging/debian/assemble.cmake)
set(CPACK_COMPONENTS_ALL libplx-host1 libplx1 libplx-dev plx)
if(TARGET plx_python)
  list(APPEND CPACK_COMPONENTS_ALL python3-plx)
endif()
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_PACKAGE_NAME plx)
set(CPACK_PACKAGE_VENDOR "plx")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "sets one component of every datetime")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
include(CPack)
