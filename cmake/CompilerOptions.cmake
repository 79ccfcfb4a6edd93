# Warnings, hardening and sanitizers, in one interface target that everything links.
add_library(pellora_options INTERFACE)
target_compile_options(pellora_options INTERFACE -Wall -Wextra -Wpedantic -fstack-protector-strong)
target_compile_definitions(pellora_options INTERFACE QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII
  $<$<BOOL:${PELLORA_TEAM_PREFIX}>:PELLORA_TEAM_PREFIX="${PELLORA_TEAM_PREFIX}">)
# Tests, benchmarks and fuzzers may look into every folder; the programs see what their folders name (Folder.cmake).
add_library(pellora_whole_tree INTERFACE)
target_include_directories(pellora_whole_tree INTERFACE ${CMAKE_SOURCE_DIR})
target_link_libraries(pellora_whole_tree INTERFACE pellora_options)
# libstdc++ 12 calls its own deprecated std::get_temporary_buffer inside std::stable_sort, which clang reports.
target_compile_options(pellora_options INTERFACE -Wno-deprecated-declarations)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# Test code is compiled as fast as can be; what it tests is compiled as usual.
set(is_product $<NOT:$<BOOL:$<TARGET_PROPERTY:PELLORA_IS_TEST>>>)
function(pellora_mark_as_test)
  set_target_properties(${ARGN} PROPERTIES PELLORA_IS_TEST ON)
  foreach(target ${ARGN})
    target_compile_options(${target} PRIVATE -O0)
  endforeach()
endfunction()

if(PELLORA_SANITIZE)
  target_compile_options(pellora_options INTERFACE
    -fsanitize=address,undefined -fno-sanitize=function -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(pellora_options INTERFACE -fsanitize=address,undefined)
  if(PELLORA_FUZZERS)
    # The fuzzers are guided by what their inputs reach in all of our code.
    target_compile_options(pellora_options INTERFACE $<${is_product}:-fsanitize=fuzzer-no-link>)
  endif()
elseif(PELLORA_SANITIZE_THREADS)
  target_compile_options(pellora_options INTERFACE -fsanitize=thread -fno-omit-frame-pointer)
  target_link_options(pellora_options INTERFACE -fsanitize=thread)
else()
  include(CheckPIESupported)
  check_pie_supported()
  target_compile_options(pellora_options INTERFACE
    "$<$<AND:$<NOT:$<CONFIG:Debug>>,${is_product}>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3>"
    $<$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},x86_64>:-fcf-protection=full>)
  target_link_options(pellora_options INTERFACE -Wl,-z,relro,-z,now -Wl,--as-needed)
endif()
