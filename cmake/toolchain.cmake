# Warnings, sanitizers and build speed, in one interface target that is never exported.
add_library(vt_flags INTERFACE)
# The sanitizers' trees compile many files as one, where names of one file shadow those of another;
# whoever has warnings has them in the other trees.
if(NOT CMAKE_UNITY_BUILD)
  target_compile_options(
    vt_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wswitch -Wnon-virtual-dtor
                       -Woverloaded-virtual -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # A designated initialiser names what it sets; the rest has its defaults.
  target_compile_options(vt_flags INTERFACE -Wno-missing-field-initializers)
  # g++ 12 sees dangling references and overflows in inlined library code that are not there.
  target_compile_options(vt_flags INTERFACE -Wno-restrict -Wno-maybe-uninitialized
                                            -Wno-stringop-overflow -Wno-array-bounds)
endif()

if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  # References into what is gone already; g++ has its own check for them among all its warnings.
  target_compile_options(vt_flags INTERFACE -Werror=dangling -Werror=return-stack-address)
  # Fields left out of a designated initialiser take their defaults on purpose.
  target_compile_options(vt_flags INTERFACE -Wno-missing-designated-field-initializers)
  # libstdc++ 12 uses in its stable sort what it has deprecated itself.
  target_compile_options(vt_flags INTERFACE -Wno-deprecated-declarations)
  # A header of xkb has a field called "explicit".
  target_compile_options(vt_flags INTERFACE -Wno-keyword-macro)
endif()

set(VANTOREL_SANITIZE "" CACHE STRING "Sanitizers for the whole build: address,undefined or thread")
if(VANTOREL_SANITIZE)
  add_compile_options(-fsanitize=${VANTOREL_SANITIZE} -fno-omit-frame-pointer
                      -fno-sanitize-recover=all)
  if(VANTOREL_SANITIZE MATCHES address)
    add_compile_definitions(VANTOREL_ADDRESS_SANITIZER)
  endif()
  add_link_options(-fsanitize=${VANTOREL_SANITIZE})
endif()
if(VANTOREL_FUZZ)
  # Without it the fuzzers see only what their own file covers.
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
# In what is shipped too: an index out of range ends the program instead of reading secrets.
add_compile_definitions(_GLIBCXX_ASSERTIONS)

find_program(CCACHE ccache)
if(CCACHE)
  # Worktrees share the cache; precompiled headers need the two relaxations.
  set(CMAKE_CXX_COMPILER_LAUNCHER
      ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1
      CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime ${CCACHE})
endif()
find_program(MOLD mold)
if(MOLD)
  add_link_options(-fuse-ld=mold)
endif()
