# add_wine_test(<name> <target> [PREFIX tests|scan] [ARGS <argument>...] [COST <seconds>])
#
# Registers the program built by <target> as the CTest test <name>. From Linux it runs under Wine, in a prefix
# of the project's own below the build folder; a fixture makes the one that all others are copied from.
#
#   PREFIX tests   (the default) C:\windows\twain_32.dll is the scriptable manager, bin/tests/twain_32.dll. As
#                  long as the program runs it has INI files, registry and windows for itself: scripts/wine.sh
#                  takes a prefix that no other program uses
#   PREFIX scan    Wine's own TWAIN manager; the virtual scanner, bin/vscan.ds, is C:\windows\twain_32\sane.ds,
#                  with the source tree's vscan.ini beside it. All programs share it
#   COST           how long it runs, about: the longest are started first
#
# The current folder is ${PRODUCT_DIR}, where ScanModule.dll is. On Windows the program runs directly, one at a
# time, and PREFIX only adds a label, so that tests which need a manager can be left out (ctest -LE). A test
# program that finds nothing to do has failed.
function(add_wine_test name target)
  cmake_parse_arguments(PARSE_ARGV 2 arg "" "PREFIX;COST" "ARGS")
  if(arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "add_wine_test(${name}): unknown arguments ${arg_UNPARSED_ARGUMENTS}")
  endif()
  if(NOT arg_PREFIX)
    set(arg_PREFIX tests)
  endif()
  if(NOT arg_PREFIX MATCHES "^(tests|scan)$")
    message(FATAL_ERROR "add_wine_test(${name}): PREFIX is tests or scan, not ${arg_PREFIX}")
  endif()
  if(NOT arg_COST)
    set(arg_COST 0)
  endif()

  set(launcher "")
  if(NOT CMAKE_HOST_WIN32)
    # The user's own "scan" prefix, with settings of his own, stays out of the tests' way.
    string(REGEX REPLACE "^scan$" "scan-tests" prefix ${arg_PREFIX})
    set(launcher ${PROJECT_SOURCE_DIR}/scripts/wine.sh --build-dir ${PROJECT_BINARY_DIR} --prefix ${prefix}
                 --hold-stderr)
  endif()
  add_test(
    NAME ${name}
    COMMAND ${launcher} $<TARGET_FILE:${target}> ${arg_ARGS}
    WORKING_DIRECTORY ${PRODUCT_DIR})
  set_tests_properties(
    ${name}
    PROPERTIES COST ${arg_COST}
               TIMEOUT 120
               LABELS "${arg_PREFIX}"
               FAIL_REGULAR_EXPRESSION "test cases: +0 ")
  if(launcher)
    _wine_base_fixture()
    set_tests_properties(${name} PROPERTIES FIXTURES_REQUIRED wine_prefix)
  else()
    set_tests_properties(${name} PROPERTIES RESOURCE_LOCK windows_folder)
  endif()
endfunction()

# Registers the fixture once.
function(_wine_base_fixture)
  if(NOT TEST wine_prefix)
    add_test(NAME wine_prefix COMMAND ${PROJECT_SOURCE_DIR}/scripts/wine_prefix.sh
                                      --build-dir ${PROJECT_BINARY_DIR} base)
    set_tests_properties(wine_prefix PROPERTIES FIXTURES_SETUP wine_prefix TIMEOUT 180)
  endif()
endfunction()
