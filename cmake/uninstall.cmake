# Removes the files that the last `cmake --install` of a build folder has put in place, and the folders that are
# empty then: cmake -DMANIFEST=build/install_manifest.txt -P uninstall.cmake
if(NOT EXISTS "${MANIFEST}")
  message(FATAL_ERROR "there is no ${MANIFEST}: nothing was installed from this build folder")
endif()
file(READ "${MANIFEST}" remaining)
set(removed 0)
# Line by line: in a list, a bracket in a path would join it with the paths behind it.
while(remaining MATCHES "^([^\n]+)\n?(.*)$")
  set(path "$ENV{DESTDIR}${CMAKE_MATCH_1}")
  set(remaining "${CMAKE_MATCH_2}")
  if(EXISTS "${path}" OR IS_SYMLINK "${path}")
    file(REMOVE "${path}")
    math(EXPR removed "${removed} + 1")
  endif()
  # Folders that only plx has; bin, lib and share are of others too, full or empty.
  cmake_path(GET path PARENT_PATH folder)
  while(folder MATCHES "/(include|share/doc|lib[^/]*(/[^/]+)?(/cmake)?)/plx(/.*)?$")
    # Removes an empty folder only; file(REMOVE_RECURSE) would leave it to us to find out whether one is.
    execute_process(COMMAND rmdir -- "${folder}" RESULT_VARIABLE failed ERROR_QUIET)
    if(failed)
      break()
    endif()
    cmake_path(GET folder PARENT_PATH folder)
  endwhile()
endwhile()
message(STATUS "removed ${removed} files of ${MANIFEST}")
