# The Debian package: the Linux installation above plus what Debian expects of every package.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE https://corvalin.ru/studio)
# dpkg-shlibdeps derives the Qt 6 and QCoro packages from the executable and the system
# libraries of the tools; the tools' own libraries are found in the package itself.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS usr/lib/corvalin-studio/Tools/lib)
# What the application runs or loads besides its libraries: usbmuxd, through which the tools
# reach the watch once it has left Recovery or DFU; perl, which provides /usr/bin/shasum, the
# checksum of every download; Qt's own Russian texts (file chooser, standard buttons); libcurl,
# which downloads the images and is loaded only when the first download starts.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "usbmuxd, perl, qt6-translations-l10n, libcurl4")
# xdg-open opens the firmware folder and the support chat. Fonts: the theme's first choice,
# Inter, and DejaVu Sans (Mono) behind it; the rounded titles' face is embedded.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "xdg-utils, fonts-inter, fonts-dejavu-core, qt6-wayland")
# Apply the udev rule to a watch attached before the installation, and withdraw it on removal.
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
  ${CMAKE_CURRENT_SOURCE_DIR}/debian/maintainer/postinst ${CMAKE_CURRENT_SOURCE_DIR}/debian/maintainer/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

set(doc_folder share/doc/${CPACK_PACKAGE_NAME})
configure_file(debian/changelog.in ${CMAKE_CURRENT_BINARY_DIR}/changelog @ONLY)
# Reproducible: no name and no time stamp in the gzip header.
execute_process(COMMAND gzip -9nc ${CMAKE_CURRENT_BINARY_DIR}/changelog
  OUTPUT_FILE ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz
  COMMAND_ERROR_IS_FATAL ANY)

# The copyright file names the exact sources of the tools inside the package: the pinned
# upstream commits and our patches, which travel in the package beside it.
set(tools_folder ${PROJECT_SOURCE_DIR}/scripts/tools)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${tools_folder}/pins.txt)
file(STRINGS ${tools_folder}/pins.txt pins REGEX "^[a-z]")
set(CORVALIN_TOOL_SOURCES "")
foreach(pin IN LISTS pins)
  string(REGEX MATCH "^([^ ]+) +([^ ]+) +([0-9a-f]+)$" matched "${pin}")
  if(NOT matched)
    message(FATAL_ERROR "pins.txt: cannot read the line \"${pin}\"")
  endif()
  string(APPEND CORVALIN_TOOL_SOURCES "  ${CMAKE_MATCH_1} ${CMAKE_MATCH_2}, commit ${CMAKE_MATCH_3}:\n"
    "   https://github.com/libimobiledevice/${CMAKE_MATCH_1}/archive/${CMAKE_MATCH_3}.tar.gz\n")
endforeach()
file(GLOB patches RELATIVE ${tools_folder}/patches CONFIGURE_DEPENDS ${tools_folder}/patches/*/*.patch)
list(SORT patches)
set(CORVALIN_TOOL_PATCHES "")
foreach(patch IN LISTS patches)
  string(APPEND CORVALIN_TOOL_PATCHES "  ${patch}\n")
  get_filename_component(component ${patch} DIRECTORY)
  install(FILES ${tools_folder}/patches/${patch} DESTINATION ${doc_folder}/patches/${component})
endforeach()
string(REGEX REPLACE "\n$" "" CORVALIN_TOOL_SOURCES "${CORVALIN_TOOL_SOURCES}")
string(REGEX REPLACE "\n$" "" CORVALIN_TOOL_PATCHES "${CORVALIN_TOOL_PATCHES}")
# The embedded face's licence in full, as a copyright file's paragraph: indented, empty lines as ".".
file(READ ${PROJECT_SOURCE_DIR}/src/ui/resources/fonts/OFL.txt ofl)
string(REGEX REPLACE "[ \t\r]+\n" "\n" ofl "${ofl}")
string(REGEX REPLACE "\n+$" "" ofl "${ofl}")
string(REGEX REPLACE "\n\n" "\n.\n" ofl "${ofl}")
string(REGEX REPLACE "\n\n" "\n.\n" ofl "${ofl}")
string(REPLACE "\n" "\n " ofl "${ofl}")
set(CORVALIN_OFL_TEXT " ${ofl}")
configure_file(debian/copyright.in ${CMAKE_CURRENT_BINARY_DIR}/copyright @ONLY)
install(FILES debian/lintian/corvalin-studio DESTINATION share/lintian/overrides)
# The manual page, compressed the way Debian expects (no name, no time stamp).
execute_process(COMMAND gzip -9nc ${CMAKE_CURRENT_SOURCE_DIR}/linux/corvalin-studio.1
  OUTPUT_FILE ${CMAKE_CURRENT_BINARY_DIR}/corvalin-studio.1.gz
  COMMAND_ERROR_IS_FATAL ANY)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/linux/corvalin-studio.1)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/corvalin-studio.1.gz DESTINATION share/man/man1)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/copyright ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz
  DESTINATION ${doc_folder})
