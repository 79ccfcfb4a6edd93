# Compiles through ccache when it is there.
find_program(PELLORA_CCACHE ccache)
if(PELLORA_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${PELLORA_CCACHE})
endif()
