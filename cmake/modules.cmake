# The sources of each named folder under src/ (with its records/), tests left out.
function(vantorel_sources result)
  set(found)
  foreach(folder IN LISTS ARGN)
    file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/${folder}/*.cpp
         ${PROJECT_SOURCE_DIR}/src/${folder}/records/*.cpp)
    list(FILTER sources EXCLUDE REGEX "_test\\.cpp$")
    list(APPEND found ${sources})
  endforeach()
  set(${result} ${found} PARENT_SCOPE)
endfunction()

# The headers every file pays for otherwise.
function(vantorel_precompile target)
  target_precompile_headers(
    ${target} PRIVATE <algorithm> <chrono> <expected> <filesystem> <functional> <map> <memory>
    <optional> <string> <string_view> <variant> <vector> <fmt/format.h>)
endfunction()

# One test program of all *_test.cpp in the named folders, each case a ctest test.
function(vantorel_tests target)
  set(found)
  foreach(folder IN LISTS ARGN)
    file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/${folder}/*_test.cpp
         ${PROJECT_SOURCE_DIR}/src/${folder}/records/*_test.cpp)
    list(APPEND found ${sources})
  endforeach()
  add_executable(${target} ${found})
  target_link_libraries(${target} PRIVATE vt_flags GTest::gmock_main)
  target_precompile_headers(
    ${target} PRIVATE <algorithm> <chrono> <expected> <filesystem> <functional> <map> <memory>
    <optional> <string> <string_view> <variant> <vector> <fmt/format.h> <gmock/gmock.h>
    <gtest/gtest.h>)
  gtest_discover_tests(${target} TEST_PREFIX ${target}. DISCOVERY_MODE PRE_TEST
                       PROPERTIES TIMEOUT 120)
endfunction()
