# tolvo_add_library(NAME [SHARED] [GLOB pattern...] [LINK target...])
#
# One subsystem library built from the files of its folder that match the
# patterns (default: *.cpp and *.mm of the folder). Objective-C++ libraries
# are SHARED: a category lives in an object file that nothing references by
# symbol, and a static archive would drop it at link time.
function(tolvo_add_library name)
  cmake_parse_arguments(L "SHARED" "" "GLOB;LINK" ${ARGN})
  if(NOT L_GLOB)
    set(L_GLOB *.cpp *.mm)
  endif()
  set(_patterns "")
  foreach(_p IN LISTS L_GLOB)
    list(APPEND _patterns ${CMAKE_CURRENT_SOURCE_DIR}/${_p})
  endforeach()
  file(GLOB _sources CONFIGURE_DEPENDS ${_patterns})
  list(FILTER _sources EXCLUDE REGEX "/main\\.mm$")
  if(NOT _sources)
    # A folder of headers only: an interface library.
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name} INTERFACE ${L_LINK})
    return()
  elseif(L_SHARED)
    add_library(${name} SHARED ${_sources})
  else()
    add_library(${name} STATIC ${_sources})
  endif()
  target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
  if(L_LINK)
    target_link_libraries(${name} PUBLIC ${L_LINK})
  endif()
endfunction()
