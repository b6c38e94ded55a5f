# Compiler options for every target of the project: C++20 without extensions, the warnings we keep clean, and the
# sanitizers of the chosen preset. Targets get them by linking record_converter_options.

option(RECORD_CONVERTER_WARNINGS_AS_ERRORS "Treat compiler warnings as errors" OFF)
set(RECORD_CONVERTER_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize= takes them")

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

find_package(Threads REQUIRED)

add_library(record_converter_options INTERFACE)
target_compile_options(record_converter_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Woverloaded-virtual
  -Wformat=2 -Wnull-dereference -Wimplicit-fallthrough
  $<$<BOOL:${RECORD_CONVERTER_WARNINGS_AS_ERRORS}>:-Werror>)
target_link_libraries(record_converter_options INTERFACE Threads::Threads)

# GCC 12's flow analysis reports null dereferences inside the standard library's own headers at -O2.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(record_converter_options INTERFACE -Wno-null-dereference)
endif()

# The worker parses untrusted files, so everything is hardened, whether or not the builder asks for it. Sanitizers find
# the same faults, and their run-time libraries conflict with some of the hardening.
option(RECORD_CONVERTER_HARDENING "Build with the protections that compiler and linker offer" ON)
if(RECORD_CONVERTER_HARDENING AND NOT RECORD_CONVERTER_SANITIZE AND NOT RECORD_CONVERTER_FUZZ)
  include(Hardening)
endif()

if(RECORD_CONVERTER_SANITIZE)
  add_compile_options(-fsanitize=${RECORD_CONVERTER_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${RECORD_CONVERTER_SANITIZE})
endif()

# leave_generated_code_out(<target>): the toolkit's own threads run the code that its compiler generates from the
# target's classes, under locks of a library that the thread sanitizer cannot see into.
function(leave_generated_code_out target)
  if(RECORD_CONVERTER_SANITIZE MATCHES thread)
    set_source_files_properties("${CMAKE_CURRENT_BINARY_DIR}/${target}_autogen/mocs_compilation.cpp"
      PROPERTIES COMPILE_OPTIONS -fno-sanitize=thread)
  endif()
endfunction()

# Removes the builder's paths from the output, so that two folders give the same bytes, and the compiler's cache serves
# every build of the same sources.
add_compile_options("-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.")
find_program(RECORD_CONVERTER_CCACHE ccache)
if(RECORD_CONVERTER_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER
    env "CCACHE_BASEDIR=${PROJECT_SOURCE_DIR}" CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=locale "${RECORD_CONVERTER_CCACHE}")
endif()
