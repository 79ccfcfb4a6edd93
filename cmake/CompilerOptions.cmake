# Warnings, hardening and sanitizers, in interface targets: pellora_options for all code, pellora_product for what is
# installed, pellora_test_code for tests and benchmarks.
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
# Programs are compiled as libraries are, so that both share precompiled headers.
set(CMAKE_CXX_COMPILE_OPTIONS_PIE -fPIC)

add_library(pellora_options INTERFACE)
# Some releases of Debian have libraries that require -pthread, and precompiled headers need the same flag everywhere.
target_compile_options(pellora_options INTERFACE -Wall -Wextra -Wpedantic -fstack-protector-strong -pthread)
target_compile_definitions(pellora_options INTERFACE QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII
  $<$<BOOL:${PELLORA_TEAM_PREFIX}>:PELLORA_TEAM_PREFIX="${PELLORA_TEAM_PREFIX}">)

add_library(pellora_product INTERFACE)
target_link_libraries(pellora_product INTERFACE pellora_options)
# Sanitizer builds optimize only the folders where the tests spend most of their time. Optimizing the others would take
# longer than it saves. Only these folders guide the fuzzers, which test nothing else.
add_library(pellora_busy INTERFACE)
if(PELLORA_SANITIZE)
  target_compile_options(pellora_busy INTERFACE -O1 $<$<BOOL:${PELLORA_FUZZERS}>:-fsanitize=fuzzer-no-link>)
endif()

# Tests, benchmarks and fuzzers may look into every folder; the programs see what their folders name (Folder.cmake).
add_library(pellora_whole_tree INTERFACE)
target_include_directories(pellora_whole_tree INTERFACE ${CMAKE_SOURCE_DIR})
target_link_libraries(pellora_whole_tree INTERFACE pellora_options)
# Test code is compiled as fast as can be; what it tests is compiled as usual. The preset for the inner loop, which
# compiles each source by itself, keeps debug information for the debugger.
add_library(pellora_test_code INTERFACE)
target_link_libraries(pellora_test_code INTERFACE pellora_whole_tree)
target_compile_options(pellora_test_code INTERFACE -O0 $<$<BOOL:${CMAKE_UNITY_BUILD}>:-g0>)

# lld is the fastest linker here, and it drops libraries that only discarded functions use.
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  target_link_options(pellora_options INTERFACE -fuse-ld=lld)
endif()

if(PELLORA_SANITIZE)
  target_compile_options(pellora_options INTERFACE
    -fsanitize=address,undefined -fno-sanitize=function -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(pellora_options INTERFACE -fsanitize=address,undefined)
elseif(PELLORA_SANITIZE_THREADS)
  target_compile_options(pellora_options INTERFACE -fsanitize=thread -fno-omit-frame-pointer)
  target_link_options(pellora_options INTERFACE -fsanitize=thread)
else()
  include(CheckPIESupported)
  check_pie_supported()
  target_compile_options(pellora_product INTERFACE
    "$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3>")
  # The same sources give the same bytes, wherever they lie, and whether or not they are compiled through ccache, which
  # names files as they lie from the build folder: so does everything that is named in full.
  file(RELATIVE_PATH pellora_sources_from_build ${CMAKE_BINARY_DIR} ${CMAKE_SOURCE_DIR})
  target_compile_options(pellora_product INTERFACE
    "$<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${CMAKE_SOURCE_DIR}/=${pellora_sources_from_build}>"
    "$<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${CMAKE_BINARY_DIR}/=>")
  target_compile_options(pellora_options INTERFACE
    $<$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},x86_64>:-fcf-protection=full>)
  # Folders are compiled as wholes; a program takes the functions that it uses.
  target_compile_options(pellora_options INTERFACE $<$<NOT:$<CONFIG:Debug>>:-ffunction-sections;-fdata-sections>)
  target_link_options(pellora_options INTERFACE -Wl,-z,relro,-z,now -Wl,--as-needed
    $<$<NOT:$<CONFIG:Debug>>:-Wl,--gc-sections>)
endif()

# libstdc++ 12 calls its own deprecated std::get_temporary_buffer inside std::stable_sort, and clang reports it in the
# folders that sort.
function(pellora_sorts_stably target)
  target_compile_options(${target} PRIVATE -Wno-deprecated-declarations)
endfunction()
