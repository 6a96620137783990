# Compiler settings of the fuzz targets (-DTAVIK_BUILD_FUZZERS=ON, clang only):
# every library is instrumented for libFuzzer's coverage, and checked by
# AddressSanitizer and UndefinedBehaviorSanitizer (the asan preset's
# TAVIK_SANITIZE=address, which this turns on when it is empty); undefined
# behaviour aborts so that the fuzzer reports it as a crash. The tests of the
# same build run instrumented too, which costs them little. The fuzz targets
# link the fuzzer runtime themselves (see fuzz/CMakeLists.txt).

if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  message(FATAL_ERROR "TAVIK_BUILD_FUZZERS needs clang (CMAKE_CXX_COMPILER=clang++-14)")
endif()
if(TAVIK_SANITIZE STREQUAL "")
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(NOT TAVIK_SANITIZE STREQUAL "address")
  message(FATAL_ERROR "TAVIK_BUILD_FUZZERS goes with TAVIK_SANITIZE=address (or empty)")
endif()

add_compile_options(-fsanitize=fuzzer-no-link)
