# Headers of other projects, compiled once instead of in each source: they cost most of a build's time. Only headers
# from outside this tree go in, so no edit of ours ever compiles them again, and each source still includes what it uses:
# Tests/check-includes and Tests/check-tidy, which compiles without them, hold it to that.
#
# The result names no folder of this checkout (its main file is one that lies everywhere, the others come in by
# -include, and no times are kept): it is the same bytes in every checkout, and ccache finds what another one compiled.
option(PELLORA_PRECOMPILE "Compile the headers of other projects once (clang only)" ON)
if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  set(PELLORA_PRECOMPILE OFF)
endif()
set(pellora_precompiled_main /usr/include/stdio.h)

# pellora_precompile(name USES libraries... HEADERS headers...): libraries give the options and include folders.
function(pellora_precompile name)
  cmake_parse_arguments(PARSE_ARGV 1 given "" "" "USES;HEADERS")
  if(NOT PELLORA_PRECOMPILE)
    return()
  endif()
  set_source_files_properties(${pellora_precompiled_main} PROPERTIES LANGUAGE CXX)
  add_library(${name} OBJECT ${pellora_precompiled_main})
  set_target_properties(${name} PROPERTIES UNITY_BUILD OFF)
  target_link_libraries(${name} PRIVATE ${given_USES})
  target_compile_options(${name} PRIVATE "SHELL:-x c++-header" "SHELL:-Xclang -fno-pch-timestamp"
    -fpch-instantiate-templates)
  foreach(header ${given_HEADERS})
    target_compile_options(${name} PRIVATE "SHELL:-include ${header}")
  endforeach()
  # Ninja makes sources wait for a custom target, but not for the objects of an object library.
  add_custom_target(${name}_compiled DEPENDS $<TARGET_OBJECTS:${name}>)
endfunction()

# pellora_use_precompiled(name targets...): with the same options as the headers were compiled with.
function(pellora_use_precompiled name)
  if(NOT TARGET ${name})
    return()
  endif()
  foreach(target ${ARGN})
    add_dependencies(${target} ${name}_compiled)
    target_compile_options(${target} PRIVATE
      "$<$<COMPILE_LANGUAGE:CXX>:SHELL:-include-pch \"$<TARGET_OBJECTS:${name}>\" -Xclang -fno-pch-timestamp>")
  endforeach()
endfunction()

set(standard algorithm array charconv chrono cstdint filesystem fstream functional map memory optional set span sstream
  stdexcept string string_view system_error unordered_map unordered_set utility variant vector)
set(qt QCoroTask QCoreApplication QDBusConnection QDBusMessage QDBusPendingCallWatcher QDBusPendingReply QDBusVariant
  QPointer QSocketNotifier QTimer QVariantMap QApplication QIcon QLabel QPainter QPushButton QVBoxLayout)
set(used_by_product Qt6::Widgets Qt6::DBus QCoro::Core QCoro::DBus)
pellora_precompile(pellora_standard_headers USES pellora_product pellora_busy HEADERS ${standard})
pellora_precompile(pellora_product_headers USES pellora_product ${used_by_product} HEADERS ${standard} ${qt})
if(PELLORA_SANITIZE)
  pellora_precompile(pellora_busy_headers USES pellora_product pellora_busy ${used_by_product}
    HEADERS ${standard} ${qt})
endif()
if(PELLORA_TESTS)
  pellora_precompile(pellora_test_headers USES pellora_test_code Qt6::Widgets Qt6::DBus QCoro::Core QCoro::DBus
      GTest::gtest GTest::gmock nlohmann_json::nlohmann_json
    HEADERS ${standard} ${qt} gtest/gtest.h gmock/gmock.h nlohmann/json.hpp)
endif()
