# tolvo_add_gtest(NAME
#                 SOURCES file...
#                 [LIBRARIES target...]
#                 [LABELS label...]
#                 [GNUSTEP]
#                 [KEYRING])
#
# One GoogleTest executable; each of its test cases becomes its own CTest test
# and runs in its own process with a fresh, empty HOME (tests/support/fresh-home),
# so that preferences, the address book and the activity log of one test never
# leak into another. GNUSTEP tests get a main that sets up the application
# object and names the process "Tolvo", so the preferences domain is the
# application's own. KEYRING tests run inside a D-Bus session of their own
# with an unlocked GNOME Keyring (tests/support/private-keyring).
find_package(GTest REQUIRED)
include(GoogleTest)

set(TOLVO_FRESH_HOME ${CMAKE_SOURCE_DIR}/tests/support/fresh-home)
set(TOLVO_PRIVATE_KEYRING ${CMAKE_SOURCE_DIR}/tests/support/private-keyring)

function(tolvo_add_gtest name)
  cmake_parse_arguments(T "GNUSTEP;KEYRING" "" "SOURCES;LIBRARIES;LABELS" ${ARGN})
  add_executable(${name} ${T_SOURCES})
  target_link_libraries(${name} PRIVATE ${T_LIBRARIES} GTest::gtest GTest::gmock)
  if(T_GNUSTEP)
    target_link_libraries(${name} PRIVATE tolvo_test_main)
  else()
    target_link_libraries(${name} PRIVATE GTest::gtest_main)
  endif()
  set(_emulator ${TOLVO_FRESH_HOME})
  if(T_KEYRING)
    list(APPEND _emulator ${TOLVO_PRIVATE_KEYRING})
  endif()
  set_target_properties(${name} PROPERTIES CROSSCOMPILING_EMULATOR "${_emulator}")
  gtest_discover_tests(${name}
    DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 60
    TEST_LIST ${name}_TESTS
    PROPERTIES ENVIRONMENT "TOLVO_SOURCE_DIR=${CMAKE_SOURCE_DIR}")
  # gtest_discover_tests hands its properties on as one flat list, which
  # would keep only the first of several labels. The labels are set by a
  # script of their own, read by CTest after the discovered tests (whose
  # names it finds in ${name}_TESTS).
  if(T_LABELS)
    set(_labels_file ${CMAKE_CURRENT_BINARY_DIR}/${name}_labels.cmake)
    file(WRITE ${_labels_file}
      "if(${name}_TESTS)\n"
      "  set_tests_properties(\${${name}_TESTS} PROPERTIES LABELS \"${T_LABELS}\")\n"
      "endif()\n")
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${_labels_file})
  endif()
endfunction()

# tolvo_test_in_app_wrapper(TARGET)
#
# Puts a test program inside an application wrapper with Tolvo's own
# Resources/ (string table, Info-gnustep.plist), so that [NSBundle mainBundle]
# answers as it does in the application.
function(tolvo_test_in_app_wrapper target)
  set(_wrapper ${CMAKE_CURRENT_BINARY_DIR}/${target}.app)
  set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${_wrapper})
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E copy_directory
            ${CMAKE_SOURCE_DIR}/app/Resources ${_wrapper}/Resources)
endfunction()

# tolvo_add_gui_test(NAME name SCRIPT file.py [TIMEOUT seconds]
#                    [INSIDE command...] [ARGS argument...])
#
# A Python script of the folder that drives the real application under Xvfb,
# run by Debian's Python in a fresh home (and, with INSIDE, within that
# command, such as tests/support/private-keyring). Labelled gui; GUI tests
# take turns on the display.
function(tolvo_add_gui_test)
  cmake_parse_arguments(G "" "NAME;SCRIPT;TIMEOUT" "INSIDE;ARGS" ${ARGN})
  if(NOT G_TIMEOUT)
    set(G_TIMEOUT 120)
  endif()
  add_test(NAME ${G_NAME}
    COMMAND ${TOLVO_FRESH_HOME} ${G_INSIDE} /usr/bin/python3 ${CMAKE_CURRENT_SOURCE_DIR}/${G_SCRIPT}
            ${G_ARGS})
  set_tests_properties(${G_NAME} PROPERTIES
    LABELS gui RESOURCE_LOCK display TIMEOUT ${G_TIMEOUT})
endfunction()
