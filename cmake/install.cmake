# What an installation has, and where. It is laid out twice: as GNUInstallDirs has it, for `cmake --install`, and as
# Debian has it, for the packages (package.cmake), whose components a plain installation leaves out. Nothing of it
# names the place where it was installed, so that the tree can be moved.
include(CMakePackageConfigHelpers)

# Until version 1, what was built against 0.1 is not promised to work with 0.2.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/plxConfigVersion.cmake COMPATIBILITY SameMinorVersion)

# One layout: its three components and its folders, which are those of GNUInstallDirs' variables.
#   plx_install(name HOST component LIBRARY component DEVELOPMENT component TOOL component
#               ZSH_FOLDER folder [RUNPATH path] [LIBRARY_RUNPATH path] [EXCLUDE_FROM_ALL])
function(plx_install name)
  cmake_parse_arguments(PARSE_ARGV 1 TO
    "EXCLUDE_FROM_ALL" "RUNPATH;LIBRARY_RUNPATH;HOST;LIBRARY;DEVELOPMENT;TOOL;ZSH_FOLDER" "")
  set(other)
  if(TO_EXCLUDE_FROM_ALL)
    set(other EXCLUDE_FROM_ALL)
  endif()

  install(TARGETS plx_host EXPORT ${name} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    COMPONENT ${TO_HOST} NAMELINK_COMPONENT ${TO_DEVELOPMENT} ${other})
  set(library ${name}_library)
  plx_add_library_for_place(${library} "${TO_LIBRARY_RUNPATH}")
  set_target_properties(${library} PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${name})
  install(TARGETS ${library} EXPORT ${name} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    COMPONENT ${TO_LIBRARY} NAMELINK_COMPONENT ${TO_DEVELOPMENT} ${other})
  # The module stands apart from the libraries that are linked; plx finds it from the host library's folder.
  install(TARGETS plx_datetime EXPORT ${name} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/plx
    COMPONENT ${TO_TOOL} ${other})
  # The program is linked for its place. Were that of the build folder changed when it is installed, CMake would make
  # room for the change by an empty entry of the RUNPATH, which stands for the current directory.
  set(program ${name}_program)
  add_executable(${program} $<TARGET_OBJECTS:plx>)
  target_link_libraries(${program} PRIVATE plx_tool)
  set_target_properties(${program} PROPERTIES LINKER_LANGUAGE CXX OUTPUT_NAME plx EXPORT_NAME plx
    RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${name}
    BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "${TO_RUNPATH}")
  install(TARGETS ${program} EXPORT ${name} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    COMPONENT ${TO_TOOL} ${other})

  # A folder of their own keeps a name as common as `host` out of the system's include folder; targets and
  # pkg-config lead there, so that sources say <host/embed.h> in any case.
  install(TARGETS plx_headers EXPORT ${name})
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/host ${PROJECT_SOURCE_DIR}/include/plx DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/plx
    COMPONENT ${TO_DEVELOPMENT} ${other})

  set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/plx)
  set(made_here ${PROJECT_BINARY_DIR}/${name})
  configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/plxConfig.cmake.in ${made_here}/plxConfig.cmake
    INSTALL_DESTINATION ${package_folder})
  install(EXPORT ${name} NAMESPACE plx:: FILE plxTargets.cmake DESTINATION ${package_folder}
    COMPONENT ${TO_DEVELOPMENT} ${other})
  install(FILES ${made_here}/plxConfig.cmake ${PROJECT_BINARY_DIR}/plxConfigVersion.cmake
    DESTINATION ${package_folder} COMPONENT ${TO_DEVELOPMENT} ${other})
  file(RELATIVE_PATH way_to_prefix /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/plx.pc.in ${made_here}/plx.pc @ONLY)
  install(FILES ${made_here}/plx.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT ${TO_DEVELOPMENT} ${other})

  get_property(pages GLOBAL PROPERTY PLX_MAN_PAGES)
  foreach(page ${pages})
    string(REGEX MATCH "[0-9]$" section ${page})
    if(section EQUAL 3)
      set(component ${TO_DEVELOPMENT})
    else()
      set(component ${TO_TOOL})
    endif()
    install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT ${component} ${other})
  endforeach()

  # Completions of arguments, where each shell looks for them.
  set(completions ${PROJECT_SOURCE_DIR}/completions)
  install(FILES ${completions}/plx.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME plx
    COMPONENT ${TO_TOOL} ${other})
  install(FILES ${completions}/_plx DESTINATION ${CMAKE_INSTALL_DATADIR}/${TO_ZSH_FOLDER}
    COMPONENT ${TO_TOOL} ${other})
  install(FILES ${completions}/plx.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d
    COMPONENT ${TO_TOOL} ${other})

  # Documents stand to each other as in the source, so that their links lead somewhere.
  set(documents ${CMAKE_INSTALL_DATAROOTDIR}/doc/plx)
  foreach(document README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md COPYRIGHT docs samples examples)
    set(kind FILES)
    if(IS_DIRECTORY ${PROJECT_SOURCE_DIR}/${document})
      set(kind DIRECTORY)
    endif()
    install(${kind} ${PROJECT_SOURCE_DIR}/${document} DESTINATION ${documents}
      COMPONENT ${TO_TOOL} ${other})
  endforeach()
endfunction()

# The way to the libraries begins at the program, so that the whole tree can be moved.
file(RELATIVE_PATH way_to_libraries ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
plx_install(plxTargets HOST library LIBRARY library DEVELOPMENT development TOOL tool
  ZSH_FOLDER zsh/site-functions RUNPATH "$ORIGIN/${way_to_libraries}" LIBRARY_RUNPATH "$ORIGIN")

# Removes what `cmake --install` has noted as installed, and nothing else.
add_custom_target(uninstall
  COMMAND ${CMAKE_COMMAND} -DMANIFEST=${PROJECT_BINARY_DIR}/install_manifest.txt
    -P ${PROJECT_SOURCE_DIR}/cmake/uninstall.cmake
  VERBATIM)
