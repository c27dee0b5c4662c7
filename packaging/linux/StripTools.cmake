# Run at install time: strips the installed tools and their libraries the way Debian strips its
# own binaries, when the installation is a stripped one. Given CORVALIN_STRIP and
# CORVALIN_TOOLS_FOLDER (relative to the prefix).
if(NOT CMAKE_INSTALL_DO_STRIP)
  return()
endif()
file(GLOB_RECURSE files "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/${CORVALIN_TOOLS_FOLDER}/*")
foreach(file IN LISTS files)
  if(IS_SYMLINK "${file}")
    continue()
  endif()
  file(READ "${file}" magic LIMIT 4 HEX)
  if(magic STREQUAL "7f454c46")
    execute_process(COMMAND "${CORVALIN_STRIP}" --strip-unneeded --remove-section=.comment
      --remove-section=.note "${file}" COMMAND_ERROR_IS_FATAL ANY)
  endif()
endforeach()
