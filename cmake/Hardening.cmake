# Protections for every target of the project, each only if compiler and architecture support it.
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckPIESupported)

# Position-independent programs; CMAKE_POSITION_INDEPENDENT_CODE alone changes only how they are compiled.
check_pie_supported(LANGUAGES CXX)

# Some compilers warn about a flag that the architecture does not use.
set(CMAKE_REQUIRED_FLAGS -Werror)
foreach(flag stack-protector-strong stack-clash-protection cf-protection)
  string(MAKE_C_IDENTIFIER "RECORD_CONVERTER_HAS_${flag}" has)
  check_cxx_compiler_flag(-f${flag} ${has})
  if(${has})
    add_compile_options(-f${flag})
  endif()
endforeach()
# On arm64 the counterpart of x86's -fcf-protection is a flag of another name.
check_cxx_compiler_flag(-mbranch-protection=standard RECORD_CONVERTER_HAS_branch_protection)
if(RECORD_CONVERTER_HAS_branch_protection)
  add_compile_options(-mbranch-protection=standard)
endif()
unset(CMAKE_REQUIRED_FLAGS)

# The third level needs a compiler and a C library that determine sizes at run time. No level works without
# optimization.
set(CMAKE_REQUIRED_FLAGS "-O2 -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3 -Werror")
check_cxx_source_compiles("
#include <cstdlib>
#if !defined(__USE_FORTIFY_LEVEL) || __USE_FORTIFY_LEVEL < 3
#error it has none
#endif
int main() { return 0; }" RECORD_CONVERTER_HAS_FORTIFY_3)
unset(CMAKE_REQUIRED_FLAGS)
set(level $<IF:$<BOOL:${RECORD_CONVERTER_HAS_FORTIFY_3}>,3,2>)
set(is_optimized $<NOT:$<CONFIG:Debug>>)
add_compile_options("$<${is_optimized}:-U_FORTIFY_SOURCE>" "$<${is_optimized}:-D_FORTIFY_SOURCE=${level}>")

add_link_options(LINKER:-z,relro LINKER:-z,now)
