# CPack's part: the folders with the files of each package go to the script that assembles the packages.
set(packages "${CPACK_TEMPORARY_DIRECTORY}/packages")
execute_process(
  COMMAND "${CMAKE_CURRENT_LIST_DIR}/assemble" "${CPACK_PACKAGE_VERSION}" "${CPACK_TEMPORARY_DIRECTORY}" "${packages}"
  COMMAND_ERROR_IS_FATAL ANY)
file(GLOB CPACK_EXTERNAL_BUILT_PACKAGES "${packages}/*.deb")
