# Compile and link options of everything that goes into the library.
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O2 -g")
set(CMAKE_C_FLAGS_RELWITHDEBINFO "-O2 -g")
if(TALVERN_SANITIZE)
  set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O1 -g")
endif()

add_library(talvern_warnings INTERFACE)
target_compile_options(talvern_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)

add_library(talvern_flags INTERFACE)
target_compile_options(talvern_flags INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions;-fno-rtti;-fno-threadsafe-statics;-fvisibility-inlines-hidden>
  -fvisibility=hidden
  -fPIC
  -fno-semantic-interposition
  -fstack-protector-strong
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
# String instructions cost some thirty cycles to start, more than what most calls wipe or copy.
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(talvern_flags INTERFACE
    -mmemset-strategy=unrolled_loop:256:noalign,libcall:-1:noalign
    -mmemcpy-strategy=unrolled_loop:256:noalign,libcall:-1:noalign)
endif()
if(TALVERN_PORTABLE)
  target_compile_definitions(talvern_flags INTERFACE TALVERN_PORTABLE)
endif()

# Sanitizers apply to tests and benchmarks as well.
if(TALVERN_SANITIZE)
  add_compile_options(-fsanitize=${TALVERN_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${TALVERN_SANITIZE})
endif()

# Tests are compiled more often than they are run: less optimised, and under the sanitizers without the
# checks of every pointer, which the library keeps. Both halve the time of a clean build.
add_library(talvern_test_flags INTERFACE)
target_compile_options(talvern_test_flags INTERFACE $<$<CONFIG:RelWithDebInfo>:-O1;-g1>)
if(TALVERN_SANITIZE MATCHES "undefined")
  target_compile_options(talvern_test_flags INTERFACE -fno-sanitize=vptr,null,alignment,object-size)
endif()
