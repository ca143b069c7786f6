# Helpers that give every library, program and test the same warnings and layout.

set(ORVELLA_WARNINGS -Wall -Wextra -Werror -Wno-missing-field-initializers)

# orvella_library(NAME SOURCES... [PUBLIC_INCLUDE dir...] [DEPS target...])
function(orvella_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC_INCLUDE;DEPS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_compile_options(${name} PRIVATE ${ORVELLA_WARNINGS})
  target_include_directories(${name} PUBLIC ${ARG_PUBLIC_INCLUDE})
  target_link_libraries(${name} PUBLIC ${ARG_DEPS})
endfunction()

# orvella_test(NAME SOURCES... DEPS target...): one GoogleTest binary, tests discovered by CTest.
function(orvella_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_compile_options(${name} PRIVATE ${ORVELLA_WARNINGS})
  target_link_libraries(${name} PRIVATE ${ARG_DEPS} test_support GTest::gtest GTest::gmock GTest::gtest_main)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endfunction()
