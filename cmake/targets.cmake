# How the project's own libraries, programs and tests are compiled.

add_library(tarntest_warnings INTERFACE)
target_compile_options(tarntest_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
  # Display results are compared bit for bit with the reference implementation.
  -ffp-contract=off)

# tarntest_library(<folder> <sources>... [LINK <targets>...]): the static library of one folder.
function(tarntest_library folder)
  cmake_parse_arguments(ARG "" "" "LINK" ${ARGN})
  set(kind STATIC)
  if(NOT ARG_UNPARSED_ARGUMENTS)
    set(kind INTERFACE)
  endif()
  add_library(${folder} ${kind} ${ARG_UNPARSED_ARGUMENTS})
  if(kind STREQUAL INTERFACE)
    target_include_directories(${folder} INTERFACE ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${folder} INTERFACE ${ARG_LINK})
  else()
    target_include_directories(${folder} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${folder} PUBLIC ${ARG_LINK} PRIVATE tarntest_warnings)
  endif()
endfunction()

# Builds the tests that the sanitizers run, and nothing else.
add_custom_target(unit_tests)

# tarntest_test(<name> <sources>... [LINK <targets>...] [LABELS <labels>...] [ENVIRONMENT <k=v>...]):
# one GoogleTest program, registered with ctest. The label "unit" marks those that need no window
# and run again under the sanitizers.
function(tarntest_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "LINK;LABELS;ENVIRONMENT" ${ARGN})
  add_executable(${name} ${ARG_UNPARSED_ARGUMENTS})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/tests
                                             ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE ${ARG_LINK} GTest::gtest GTest::gtest_main
                                        tarntest_warnings)
  add_test(NAME ${name} COMMAND ${name})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 300)
  endif()
  set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS "${ARG_LABELS}"
                                          ENVIRONMENT "${ARG_ENVIRONMENT}")
  # The windows of one desktop take the keyboard from each other.
  if(WIN32 AND "window" IN_LIST ARG_LABELS)
    set_tests_properties(${name} PROPERTIES RUN_SERIAL TRUE)
  endif()
  if("unit" IN_LIST ARG_LABELS)
    add_dependencies(unit_tests ${name})
  endif()
endfunction()
