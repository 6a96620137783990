# Project-wide compiler settings and helpers shared by every library and test.

add_compile_options(-Wall -Wextra -Wpedantic
  # __FILE__ relative to the repository root, so bugcheck reports read "src/Serializer".
  -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=)

if(TAVIK_SANITIZE STREQUAL "address")
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer
                      -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
elseif(TAVIK_SANITIZE STREQUAL "thread")
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
elseif(NOT TAVIK_SANITIZE STREQUAL "")
  message(FATAL_ERROR "TAVIK_SANITIZE must be empty, 'address' or 'thread'")
endif()

# tavik_add_platform_library(<Name> [DEPENDS <targets>...])
# Builds platform/<Name> as the shared library TavikName with the alias Tavik::Name.
function(tavik_add_platform_library name)
  cmake_parse_arguments(ARG "" "" "DEPENDS;PRIVATE_DEPENDS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/src/*.cpp)
  add_library(Tavik${name} SHARED ${sources})
  add_library(Tavik::${name} ALIAS Tavik${name})
  target_include_directories(Tavik${name}
    PUBLIC $<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}/include>
    PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/src)
  target_link_libraries(Tavik${name} PUBLIC ${ARG_DEPENDS} PRIVATE ${ARG_PRIVATE_DEPENDS})
endfunction()
