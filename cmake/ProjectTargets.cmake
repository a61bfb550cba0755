# What every target of the project has in common, in one place.

include_guard(GLOBAL)
include(CheckIPOSupported)

set(PRISMDRIFT_ROOT "${CMAKE_CURRENT_SOURCE_DIR}")

# Link-time optimisation in optimised builds of our own, where the compiler can.
set(PRISMDRIFT_LTO OFF)
if(PROJECT_IS_TOP_LEVEL AND NOT PRISMDRIFT_SANITIZE)
  check_ipo_supported(RESULT PRISMDRIFT_LTO OUTPUT ignored LANGUAGES CXX)
endif()

# A shared module has to name a library for everything that it uses. clang's sanitizers are the
# exception: their run time is in the program that loads the module.
set(PRISMDRIFT_ALL_DEFINED LINKER:-z,defs)
if(PRISMDRIFT_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  set(PRISMDRIFT_ALL_DEFINED)
endif()

# Language level, warnings, visibility and sanitizers for one target of ours.
#   prismdrift_target(NAME [CXX20])
function(prismdrift_target name)
  cmake_parse_arguments(arg "CXX20" "" "" ${ARGN})
  if(arg_CXX20)
    target_compile_features(${name} PRIVATE cxx_std_20)
  else()
    target_compile_features(${name} PUBLIC cxx_std_17)
  endif()
  set_target_properties(
    ${name}
    PROPERTIES CXX_EXTENSIONS OFF
               POSITION_INDEPENDENT_CODE ON
               CXX_VISIBILITY_PRESET hidden
               VISIBILITY_INLINES_HIDDEN ON)
  if(PRISMDRIFT_LTO)
    set_target_properties(${name} PROPERTIES INTERPROCEDURAL_OPTIMIZATION_RELEASE ON)
  endif()
  target_compile_options(${name} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                                         $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>)
  if(PRISMDRIFT_WARNINGS_AS_ERRORS)
    target_compile_options(${name} PRIVATE -Werror)
  endif()
  if(PRISMDRIFT_SANITIZE)
    target_compile_options(${name} PRIVATE -fsanitize=${PRISMDRIFT_SANITIZE} -fno-omit-frame-pointer
                                           -fno-sanitize-recover=all)
    # With the instrumentation g++ sees uninitialised members in the standard library's <regex>.
    target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    target_link_options(${name} PUBLIC -fsanitize=${PRISMDRIFT_SANITIZE})
    if(PRISMDRIFT_FUZZ)
      target_compile_options(${name} PRIVATE -fsanitize=fuzzer-no-link)
    endif()
    # As g++ does by itself.
    foreach(sanitizer IN ITEMS address thread)
      if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang" AND PRISMDRIFT_SANITIZE MATCHES ${sanitizer})
        string(TOUPPER ${sanitizer} sanitizer)
        target_compile_definitions(${name} PRIVATE __SANITIZE_${sanitizer}__=1)
      endif()
    endforeach()
  endif()
endfunction()

# A static library of the project with its public name and the include root that its users write
# their includes from.
#   prismdrift_library(NAME ALIAS PrismDrift::Name ROOT folder [CXX20] SOURCES file…)
function(prismdrift_library name)
  cmake_parse_arguments(arg "CXX20" "ALIAS;ROOT" "SOURCES" ${ARGN})
  add_library(${name} STATIC ${arg_SOURCES})
  add_library(${arg_ALIAS} ALIAS ${name})
  target_include_directories(${name} PUBLIC "${arg_ROOT}")
  if(arg_CXX20)
    prismdrift_target(${name} CXX20)
  else()
    prismdrift_target(${name})
  endif()
endfunction()
