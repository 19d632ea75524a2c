# The sources of each named folder under src/ (with its records/), tests left out.
function(vantorel_sources result)
  set(found)
  foreach(folder IN LISTS ARGN)
    file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/${folder}/*.cpp
         ${PROJECT_SOURCE_DIR}/src/${folder}/records/*.cpp)
    list(FILTER sources EXCLUDE REGEX "_test\\.cpp$")
    list(APPEND found ${sources})
  endforeach()
  vantorel_compile_alone("${found}")
  set(${result} ${found} PARENT_SCOPE)
endfunction()

# Where many files are compiled as one (the sanitizers' trees), those that give a name of their own
# another meaning than their neighbours do are left out of it.
function(vantorel_compile_alone sources)
  set(alone ${sources})
  list(FILTER alone INCLUDE REGEX "/(history_actions|history_relocation|history_trash|deletion_journal|rewrite_journal|pending_undo|parked_index|capture_transcoder|settings_command|history_store_test|index_storage|index_storage_test|parked_index_test|linux_trash_test|remote_files|text_redaction_test|app_coordinator_test|journal_file_test|unanswered_change_test)\\.cpp$")
  set_source_files_properties(${alone} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()

# A part of the program that is loaded when it is needed, from ../lib/vantorel beside the program.
# What it uses of vt_core comes from the program, so that both share one of each; the stamp tells one
# of another build, as an update leaves beside a program that runs.
function(vantorel_module target)
  add_library(${target} MODULE ${ARGN})
  target_link_libraries(${target} PRIVATE "$<LINK_LIBRARY:WHOLE_ARCHIVE,vt_build_stamp>" vt_flags)
  set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden)
  install(TARGETS ${target} LIBRARY DESTINATION lib/vantorel COMPONENT program)
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
  # What measures how well screens are read takes minutes under a sanitizer, and says nothing there
  # that its neighbours do not.
  if(VANTOREL_SANITIZE)
    list(FILTER found EXCLUDE REGEX "/smart_redact_screens_test\\.cpp$")
  endif()
  # Its pictures are drawn by a library with threads that the sanitizer cannot see into.
  if(VANTOREL_SANITIZE STREQUAL "thread")
    list(FILTER found EXCLUDE REGEX "/linux_text_recogniser_test\\.cpp$")
  endif()
  vantorel_compile_alone("${found}")
  add_executable(${target} ${found})
  target_link_libraries(${target} PRIVATE vt_flags GTest::gmock_main)
  target_precompile_headers(
    ${target} PRIVATE <algorithm> <chrono> <expected> <filesystem> <functional> <map> <memory>
    <optional> <string> <string_view> <variant> <vector> <fmt/format.h> <gmock/gmock.h>
    <gtest/gtest.h>)
  # What is tested is optimised as it is shipped; what tests it need not be, and builds faster.
  target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-O1>)
  gtest_discover_tests(${target} TEST_PREFIX ${target}. DISCOVERY_MODE PRE_TEST
                       PROPERTIES TIMEOUT 300)
endfunction()
