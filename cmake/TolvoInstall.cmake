# `cmake --install` into a prefix, and the Debian package of that
# installation (CPack's DEB generator, `./tolvo package`).
#
#   PREFIX/bin/tolvo                                   the launcher on the path
#   PREFIX/lib/GNUstep/Applications/Tolvo.app/         the application wrapper
#   PREFIX/lib/tolvo/                                  its private libraries
#   PREFIX/share/applications/org.tolvo.Tolvo.desktop  with the mailto: handler
#   PREFIX/share/icons/hicolor/*/apps/org.tolvo.Tolvo.{png,svg}
#   PREFIX/share/metainfo/org.tolvo.Tolvo.metainfo.xml
#
# The wrapper's place is the one Debian's GNUstep applications use; the
# desktop entry, the icons and the metainfo go where the freedesktop.org
# specifications look for them.

set(TOLVO_INSTALL_APP_DIR lib/GNUstep/Applications/Tolvo.app)
set(TOLVO_INSTALL_LIB_DIR lib/tolvo)

# Every shared library of the subsystems the application is built from.
set(_tolvo_libraries "")
foreach(_dir IN LISTS TOLVO_APPLICATION_DIRS)
  get_property(_targets DIRECTORY ${CMAKE_SOURCE_DIR}/${_dir} PROPERTY BUILDSYSTEM_TARGETS)
  foreach(_target IN LISTS _targets)
    get_target_property(_type ${_target} TYPE)
    if(_type STREQUAL "SHARED_LIBRARY")
      list(APPEND _tolvo_libraries ${_target})
    endif()
  endforeach()
endforeach()

set_target_properties(${_tolvo_libraries} PROPERTIES INSTALL_RPATH "$ORIGIN")
set_target_properties(Tolvo PROPERTIES INSTALL_RPATH "$ORIGIN/../../../tolvo")

install(TARGETS ${_tolvo_libraries} LIBRARY DESTINATION ${TOLVO_INSTALL_LIB_DIR})
install(TARGETS Tolvo RUNTIME DESTINATION ${TOLVO_INSTALL_APP_DIR})
install(DIRECTORY ${CMAKE_BINARY_DIR}/Tolvo.app/Resources DESTINATION ${TOLVO_INSTALL_APP_DIR})
install(PROGRAMS ${CMAKE_SOURCE_DIR}/app/desktop/tolvo DESTINATION bin)
install(FILES ${CMAKE_SOURCE_DIR}/app/desktop/org.tolvo.Tolvo.desktop
        DESTINATION share/applications)
install(FILES ${CMAKE_SOURCE_DIR}/app/desktop/org.tolvo.Tolvo.metainfo.xml
        DESTINATION share/metainfo)
install(FILES ${TOLVO_ICON_SVG} DESTINATION share/icons/hicolor/scalable/apps)
foreach(_size IN LISTS TOLVO_ICON_SIZES)
  install(FILES ${TOLVO_ICON_THEME_DIR}/${_size}x${_size}/apps/org.tolvo.Tolvo.png
          DESTINATION share/icons/hicolor/${_size}x${_size}/apps)
endforeach()

# The Debian package. dpkg-shlibdeps derives the library dependencies; the
# GNUstep back end is loaded at run time (no link to find it by), the font
# is the one the windows are drawn with, and xdg-open opens the guide and
# the log.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tolvo)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "Sorvane Software")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "mail a web page or a message to each of your contacts")
set(CPACK_PACKAGE_DESCRIPTION "Tolvo sends one separate message to each person of a contacts group,
one after another, over your own mail server: a web page with its links made
absolute, a typed message, or both, personalised for each recipient, with the
files of an attachments list.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "Sorvane Software <tolvo@sorvane.example>")
set(CPACK_DEBIAN_PACKAGE_SECTION mail)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "gnustep-back0.29-cairo, fonts-dejavu-core, xdg-utils")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "gnome-keyring | kwalletmanager | keepassxc")
# From Browser asks the browsers from a Python program that finds their
# windows with python3-xlib; it reads the accessibility bus through
# gir1.2-atspi-2.0 and uses the keyboard and clipboard through xdotool
# and xclip when a browser offers nothing else.
string(APPEND CPACK_DEBIAN_PACKAGE_DEPENDS ", python3, python3-xlib")
string(APPEND CPACK_DEBIAN_PACKAGE_RECOMMENDS ", python3-gi, gir1.2-atspi-2.0, xdotool, xclip")
include(CPack)
