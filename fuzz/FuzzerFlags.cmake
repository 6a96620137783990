# Compiler settings of the fuzz build (-DTAVIK_BUILD_FUZZERS=ON, clang only):
# every library is instrumented for libFuzzer's coverage and checked by
# AddressSanitizer and UndefinedBehaviorSanitizer; undefined behaviour aborts
# so that the fuzzer reports it as a crash. The fuzz targets link the fuzzer
# runtime themselves (see fuzz/CMakeLists.txt).

if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  message(FATAL_ERROR "TAVIK_BUILD_FUZZERS needs clang (CMAKE_CXX_COMPILER=clang++-14)")
endif()
if(NOT TAVIK_SANITIZE STREQUAL "")
  message(FATAL_ERROR "TAVIK_BUILD_FUZZERS brings its own sanitizers: leave TAVIK_SANITIZE empty")
endif()

add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined
                    -fno-omit-frame-pointer -g)
add_link_options(-fsanitize=address,undefined)
