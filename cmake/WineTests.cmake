# add_wine_test(<name> <target> [PREFIX tests|scan] [ARGS <argument>...] [RESOURCE_LOCK <lock>...]
#               [ENVIRONMENT <NAME=value>...] [LABELS <label>...] [TIMEOUT <seconds>])
#
# Registers the program built by <target> as the CTest test <name>. From Linux it runs under Wine, in a prefix
# of the project's own below the build folder; a fixture makes the prefix and brings its files up to date.
#
#   PREFIX tests   (the default) C:\windows\twain_32.dll is the scriptable manager, bin/tests/twain_32.dll
#   PREFIX scan    Wine's own TWAIN manager; the virtual scanner, bin/vscan.ds, is C:\windows\twain_32\sane.ds,
#                  with the source tree's vscan.ini beside it (a test's own VSCAN_<KEY> go into ENVIRONMENT)
#   RESOURCE_LOCK  tests naming the same lock never run at the same time: for INI files, registry, windows
#                  that are found by name. All tests of one kind of prefix share one Windows folder.
#   TIMEOUT        in seconds, 120 when left out
#
# The current folder is ${PRODUCT_DIR}, where ScanModule.dll is. On Windows the program runs
# directly and PREFIX only adds a label, so that tests which need a manager can be left out (ctest -LE).
function(add_wine_test name target)
  cmake_parse_arguments(PARSE_ARGV 2 arg "" "PREFIX;TIMEOUT" "ARGS;RESOURCE_LOCK;ENVIRONMENT;LABELS")
  if(arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "add_wine_test(${name}): unknown arguments ${arg_UNPARSED_ARGUMENTS}")
  endif()
  if(NOT arg_PREFIX)
    set(arg_PREFIX tests)
  endif()
  if(NOT arg_PREFIX MATCHES "^(tests|scan)$")
    message(FATAL_ERROR "add_wine_test(${name}): PREFIX is tests or scan, not ${arg_PREFIX}")
  endif()
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()

  set(launcher "")
  set(hold_stderr "")
  if(NOT CMAKE_HOST_WIN32)
    _wine_test_fixture(${arg_PREFIX} launcher)
    set(hold_stderr --hold-stderr)
  endif()
  add_test(
    NAME ${name}
    COMMAND ${launcher} ${hold_stderr} $<TARGET_FILE:${target}> ${arg_ARGS}
    WORKING_DIRECTORY ${PRODUCT_DIR})
  set_tests_properties(
    ${name}
    PROPERTIES TIMEOUT ${arg_TIMEOUT}
               LABELS "${arg_PREFIX};${arg_LABELS}"
               ENVIRONMENT "${arg_ENVIRONMENT}"
               RESOURCE_LOCK "${arg_RESOURCE_LOCK}")
  if(launcher)
    set_tests_properties(${name} PROPERTIES FIXTURES_REQUIRED wine_prefix_${arg_PREFIX})
  endif()
endfunction()

# Gives the command that runs a program in the prefix, and registers the fixture that makes the prefix once.
function(_wine_test_fixture prefix launcher_variable)
  # The user's own "scan" prefix, with settings of his own, stays out of the tests' way.
  if(prefix STREQUAL "scan")
    set(folder scan-tests)
  else()
    set(folder ${prefix})
  endif()
  set(launcher ${PROJECT_SOURCE_DIR}/scripts/wine.sh --build-dir ${PROJECT_BINARY_DIR} --prefix ${folder})
  set(${launcher_variable} ${launcher} PARENT_SCOPE)

  get_property(known GLOBAL PROPERTY WINE_PREFIX_FIXTURE_${prefix})
  if(NOT known)
    set_property(GLOBAL PROPERTY WINE_PREFIX_FIXTURE_${prefix} TRUE)
    add_test(NAME wine_prefix_${prefix} COMMAND ${launcher} --prepare)
    set_tests_properties(wine_prefix_${prefix} PROPERTIES FIXTURES_SETUP wine_prefix_${prefix} TIMEOUT 180)
  endif()
endfunction()
