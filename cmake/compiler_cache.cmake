# ccache, where it is installed: what was compiled before from the same text with the same options is taken from
# build/compiler_cache, whichever preset it was compiled for.
find_program(PLX_CCACHE ccache)
cmake_path(IS_PREFIX PROJECT_SOURCE_DIR "${PROJECT_BINARY_DIR}" plx_built_inside)
# A launcher that somebody has set stays.
if(PLX_CCACHE AND plx_built_inside AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(launcher ${CMAKE_COMMAND} -E env
    CCACHE_DIR=${PROJECT_SOURCE_DIR}/build/compiler_cache CCACHE_MAXSIZE=1G
    # Paths count from the folder of the build, so that those of two presets are the same.
    CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1
    # Precompiled headers ask for these; no source of the project tells the time of its compilation.
    CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
    ${PLX_CCACHE})
  set(CMAKE_C_COMPILER_LAUNCHER ${launcher})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${launcher})
  string(APPEND CMAKE_CXX_FLAGS " -fpch-preprocess")
endif()
