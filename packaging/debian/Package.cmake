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
# The tools reach the watch through usbmuxd once it has left Recovery or DFU.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "usbmuxd")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-wayland, fonts-noto-core | fonts-dejavu-core, fonts-comfortaa")
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

set(doc_folder share/doc/${CPACK_PACKAGE_NAME})
configure_file(debian/changelog.in ${CMAKE_CURRENT_BINARY_DIR}/changelog @ONLY)
# Reproducible: no name and no time stamp in the gzip header.
execute_process(COMMAND gzip -9nc ${CMAKE_CURRENT_BINARY_DIR}/changelog
  OUTPUT_FILE ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz
  COMMAND_ERROR_IS_FATAL ANY)
install(FILES debian/copyright ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz DESTINATION ${doc_folder})
