# Every target of the project compiles with these.
add_library(glancery_options INTERFACE)
target_include_directories(glancery_options INTERFACE ${CMAKE_SOURCE_DIR})
target_compile_options(glancery_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Wnon-virtual-dtor
  # g++ 12 takes "literal" + std::string(...) for a copy onto itself.
  -Wno-restrict
  # It would take a joined source for a header, whose types must not use unnamed namespaces.
  -Wno-subobject-linkage
  $<$<BOOL:${GLANCERY_WERROR}>:-Werror>)
if(GLANCERY_SANITIZE)
  target_compile_options(glancery_options INTERFACE
    -fsanitize=${GLANCERY_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(glancery_options INTERFACE -fsanitize=${GLANCERY_SANITIZE})
endif()

# A folder is a target: a static library named after it, whose links repeat its row of the
# include table in docs/ARCHITECTURE.md.
#
# SCHEMA x.fbs makes "x_generated.h" for the library's own sources.
#
#   glancery_library(name SOURCES a.cpp ... [SCHEMA x.fbs] [PUBLIC lib ...] [PRIVATE lib ...])
function(glancery_library name)
  cmake_parse_arguments(ARG "" "SCHEMA" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  if(ARG_SCHEMA)
    cmake_path(GET ARG_SCHEMA STEM stem)
    set(header ${CMAKE_CURRENT_BINARY_DIR}/${stem}_generated.h)
    add_custom_command(OUTPUT ${header}
      COMMAND ${FLATC} --cpp --cpp-std c++17 --scoped-enums --gen-object-api
        --cpp-str-type std::string_view --cpp-str-flex-ctor --cpp-include string_view
        -o ${CMAKE_CURRENT_BINARY_DIR} ${CMAKE_CURRENT_SOURCE_DIR}/${ARG_SCHEMA}
      DEPENDS ${ARG_SCHEMA})
    target_sources(${name} PRIVATE ${header})
    target_include_directories(${name} SYSTEM PRIVATE ${CMAKE_CURRENT_BINARY_DIR})
  endif()
  target_link_libraries(${name} PUBLIC glancery_options ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE})
endfunction()

# A folder of tests is one program: tests/x/y_test.cpp runs against the named libraries.
#
#   glancery_test(name SOURCES a_test.cpp ... LINK lib ...)
function(glancery_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE glancery_options ${ARG_LINK} GTest::gmock GTest::gtest_main)
  target_compile_definitions(${name} PRIVATE
    GLANCERY_TEST_DATA="${CMAKE_SOURCE_DIR}/tests/data" GLANCERY_BUILD="${CMAKE_BINARY_DIR}")
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endfunction()
