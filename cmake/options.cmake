# Warnings, sanitizers and the two functions by which folders declare their libraries.

# Without these two settings ccache does not cache sources with a precompiled header.
find_program(ZO_CCACHE ccache)
if(ZO_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER
    ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${ZO_CCACHE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-fpch-preprocess)
  endif()
endif()

add_library(zo_options INTERFACE)
target_compile_options(zo_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(DEFINED ENV{CI})
  target_compile_options(zo_options INTERFACE -Werror)
endif()

if(ZO_HARDEN)
  include(CheckCXXCompilerFlag)
  add_compile_definitions(_FORTIFY_SOURCE=2 _GLIBCXX_ASSERTIONS)
  add_link_options(-Wl,-z,relro,-z,now)
  # The last two depend on the processor.
  foreach(flag IN ITEMS -fstack-protector-strong -fstack-clash-protection -fcf-protection=full)
    string(MAKE_C_IDENTIFIER "ZO_HAS${flag}" has)
    check_cxx_compiler_flag(${flag} ${has})
    if(${has})
      add_compile_options(${flag})
    endif()
  endforeach()
endif()

if(ZO_SANITIZE STREQUAL "address")
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(ZO_SANITIZE STREQUAL "thread")
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
  # gcc warns that it does not instrument fences; all of ours are in headers of the standard library.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-Wno-tsan)
  endif()
elseif(ZO_SANITIZE)
  message(FATAL_ERROR "ZO_SANITIZE is empty, 'address' or 'thread', not '${ZO_SANITIZE}'")
else()
  # Unique symbols would keep a shared object mapped after dlclose.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-fno-gnu-unique)
  endif()
  add_link_options(-Wl,-z,defs)
endif()

# The fuzzer traces an input through all code, not only through its own target.
if(ZO_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# The environment of every test.
set(zo_sanitizer_options
  "TSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/tsan.supp:second_deadlock_stack=1:halt_on_error=1"
  "UBSAN_OPTIONS=print_stacktrace=1")

# zo_floor(NAME SOURCES... ): a static library of one product folder.
function(zo_floor name)
  add_library(${name} STATIC ${ARGN})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE zo_options)
endfunction()

# zo_shared(NAME SOURCES... ): a shared object named lib<NAME>.so, without a version suffix. A version script exports.map
# in the folder names its exports.
function(zo_shared name)
  add_library(${name} SHARED ${ARGN})
  set(exports ${CMAKE_CURRENT_SOURCE_DIR}/exports.map)
  if(EXISTS ${exports})
    target_link_options(${name} PRIVATE -Wl,--version-script=${exports})
    set_target_properties(${name} PROPERTIES LINK_DEPENDS ${exports})
  endif()
  target_compile_features(${name} INTERFACE cxx_std_20) # for the package's users
  target_include_directories(${name} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:${zo_headers}>)
  target_link_libraries(${name} PRIVATE zo_options)
endfunction()
