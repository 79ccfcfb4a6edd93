# Compiles through ccache when it is there. Objects compiled in another checkout count, and so does a source that
# uses precompiled headers.
find_program(PELLORA_CCACHE ccache)
if(PELLORA_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER env CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1
    CCACHE_SLOPPINESS=pch_defines,time_macros)
  # ccache takes an object that was compiled with other -ffile-prefix-map options for the same.
  if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
    list(APPEND CMAKE_CXX_COMPILER_LAUNCHER CCACHE_EXTRAFILES=${CMAKE_CURRENT_LIST_DIR}/CompilerOptions.cmake)
  endif()
  list(APPEND CMAKE_CXX_COMPILER_LAUNCHER ${PELLORA_CCACHE})
endif()
