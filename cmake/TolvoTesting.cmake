# tolvo_add_gtest(NAME
#                 SOURCES file...
#                 [LIBRARIES target...]
#                 [LABELS label...]
#                 [GNUSTEP])
#
# One GoogleTest executable; each of its test cases becomes its own CTest test
# and runs in its own process with a fresh, empty HOME (tests/support/fresh-home),
# so that preferences, the address book and the activity log of one test never
# leak into another. GNUSTEP tests get a main that sets up the application
# object and names the process "Tolvo", so the preferences domain is the
# application's own.
find_package(GTest REQUIRED)
include(GoogleTest)

set(TOLVO_FRESH_HOME ${CMAKE_SOURCE_DIR}/tests/support/fresh-home)

# Several engineers share one work tree; with TOLVO_SKIP_UNFINISHED_TESTS a
# test program whose sources are not all written yet is left out of a local
# build instead of stopping it. CI never sets it.
option(TOLVO_SKIP_UNFINISHED_TESTS "Leave out test programs with missing sources" OFF)

function(tolvo_add_gtest name)
  cmake_parse_arguments(T "GNUSTEP" "" "SOURCES;LIBRARIES;LABELS" ${ARGN})
  if(TOLVO_SKIP_UNFINISHED_TESTS)
    foreach(_src IN LISTS T_SOURCES)
      if(NOT EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${_src})
        message(WARNING "${name}: ${_src} is not written yet; left out")
        return()
      endif()
    endforeach()
  endif()
  add_executable(${name} ${T_SOURCES})
  target_link_libraries(${name} PRIVATE ${T_LIBRARIES} GTest::gtest GTest::gmock)
  if(T_GNUSTEP)
    target_link_libraries(${name} PRIVATE tolvo_test_main)
  else()
    target_link_libraries(${name} PRIVATE GTest::gtest_main)
  endif()
  set_target_properties(${name} PROPERTIES CROSSCOMPILING_EMULATOR ${TOLVO_FRESH_HOME})
  # The properties reach the discovered tests as one flat list, so each
  # takes a single value.
  set(_props ENVIRONMENT "TOLVO_SOURCE_DIR=${CMAKE_SOURCE_DIR}")
  if(T_LABELS)
    list(GET T_LABELS 0 _label)
    list(APPEND _props LABELS ${_label})
  endif()
  gtest_discover_tests(${name}
    DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 60
    PROPERTIES ${_props})
endfunction()

# tolvo_test_in_app_wrapper(TARGET)
#
# Puts a test program inside an application wrapper with Tolvo's own
# Resources/ (string table, Info-gnustep.plist), so that [NSBundle mainBundle]
# answers as it does in the application.
function(tolvo_test_in_app_wrapper target)
  if(NOT TARGET ${target})
    return()  # left out as unfinished
  endif()
  set(_wrapper ${CMAKE_CURRENT_BINARY_DIR}/${target}.app)
  set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${_wrapper})
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E copy_directory
            ${CMAKE_SOURCE_DIR}/app/Resources ${_wrapper}/Resources)
endfunction()
