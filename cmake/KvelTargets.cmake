# What every target shares: language level, warnings as errors, optional sanitizers.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Release or Debug" FORCE)
endif()
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -g1 -DNDEBUG")
set(CMAKE_C_FLAGS_RELEASE "-O2 -g1 -DNDEBUG")
set(CMAKE_CXX_FLAGS_DEBUG "-O1 -g1")
set(CMAKE_C_FLAGS_DEBUG "-O1 -g1")

# Sources are compiled in batches (CMAKE_UNITY_BUILD): most of the time goes into headers, which a batch reads once. The
# preset "tidy" compiles each source by itself.

# A cross compiler has a linker of its own.
find_program(KVEL_LLD ld.lld)
if(KVEL_LLD AND NOT CMAKE_CROSSCOMPILING)
  add_link_options(-fuse-ld=lld)
endif()

set(KVEL_SANITIZE "" CACHE STRING "Sanitizers for every target, as the compiler names them (address,undefined or thread)")
if(KVEL_SANITIZE)
  add_compile_options(-fsanitize=${KVEL_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${KVEL_SANITIZE})
  if(KVEL_SANITIZE MATCHES "undefined" AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # Both need the C++ run-time library, which the plug-in does without; the second also a descriptor for each check.
    add_compile_options(-fno-sanitize=function,vptr)
  endif()
  # A fuzz target sees the branches that an input takes in everything below it.
  if(KVEL_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
  endif()
endif()

option(KVEL_COVERAGE "Count the lines and branches that the tests take" OFF)
if(KVEL_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic)
  add_link_options(--coverage)
endif()

# Warnings are errors in all of our code; libraries from the system are included as such and stay out of it.
function(kvel_compile_options target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wno-sign-conversion -Werror
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wshadow>)  # clang's complains of anonymous namespaces that are compiled together
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
endfunction()

# kvel_library(NAME SOURCES... [LIBRARIES...]): one component. Includes are written from the root: "rpc/calls/call_table.h".
function(kvel_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  kvel_compile_options(${name})
  set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  target_link_libraries(${name} PUBLIC ${ARG_LIBRARIES})
endfunction()

# The platform functions are in the program, exported to the plug-in, whether or not the program itself calls them.
function(kvel_export_platform target)
  foreach(function IN ITEMS tnrpc_clnt_init tnrpc_call tnrpc_init_resp tnrpc_free syserr2str
      vsh_platform_specific_rule_domain_check_valid vsh_platform_matched_rule_modify_check
      xprint_header xprint_footer xprint xmltag)
    target_link_options(${target} PRIVATE -Wl,--undefined=${function} -Wl,--export-dynamic-symbol=${function})
  endforeach()
endfunction()
