# GNUstep's compile and link flags, read from gnustep-config, packaged as the
# interface target `tolvo_gnustep` that every Objective-C++ library links.
#
# clang++ is the only compiler that catches NSException in Objective-C++ with
# this runtime (g++ dies in __gxx_personality_v0), so these flags assume it.

find_program(GNUSTEP_CONFIG gnustep-config REQUIRED)
execute_process(COMMAND ${GNUSTEP_CONFIG} --objc-flags
                OUTPUT_VARIABLE _gs_objc_flags OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND ${GNUSTEP_CONFIG} --gui-libs
                OUTPUT_VARIABLE _gs_gui_libs OUTPUT_STRIP_TRAILING_WHITESPACE)
separate_arguments(_gs_objc_flags UNIX_COMMAND "${_gs_objc_flags}")
separate_arguments(_gs_gui_libs UNIX_COMMAND "${_gs_gui_libs}")

set(_gs_compile "")
set(_gs_includes "")
foreach(_flag IN LISTS _gs_objc_flags)
  if(_flag MATCHES "^-I(.+)$")
    if(NOT CMAKE_MATCH_1 STREQUAL ".")
      list(APPEND _gs_includes "${CMAKE_MATCH_1}")
    endif()
  elseif(_flag MATCHES "^-(MMD|MP|g|O[0-9s]|Wall|Wno-import)$")
    # CMake writes its own dependency files and picks optimisation and
    # warnings per build type; keep ours, not gnustep-make's.
  else()
    list(APPEND _gs_compile "${_flag}")
  endif()
endforeach()

add_library(tolvo_gnustep INTERFACE)
target_compile_options(tolvo_gnustep INTERFACE
  $<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-runtime=gcc;-fconstant-string-class=NSConstantString;${_gs_compile};-Wno-unused-parameter>)
# The runtime's objc/ headers come with gobjc, in gcc's own include folder.
target_include_directories(tolvo_gnustep SYSTEM INTERFACE
  $<$<COMPILE_LANGUAGE:OBJCXX>:/usr/lib/gcc/x86_64-linux-gnu/12/include>
  ${_gs_includes})
target_link_libraries(tolvo_gnustep INTERFACE ${_gs_gui_libs})
