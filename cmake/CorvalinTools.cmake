# The libimobiledevice tools are built outside CMake (scripts/tools/build-tools) and handed in as
# CORVALIN_TOOLS_DIR; the build then places them where the application's locator looks.
if(CORVALIN_TOOLS_DIR AND NOT IS_DIRECTORY "${CORVALIN_TOOLS_DIR}/bin")
  message(WARNING "CORVALIN_TOOLS_DIR=${CORVALIN_TOOLS_DIR} holds no bin/ folder; building without tools.")
  set(CORVALIN_TOOLS_DIR "")
endif()

# Copies the tools into the Tools folder of the target: beside the executable, or in the bundle's
# Contents/Resources on macOS. Files are merged into that folder, so tools that other targets
# build into it stay.
function(corvalin_place_tools target)
  if(NOT CORVALIN_TOOLS_DIR)
    return()
  endif()
  if(APPLE)
    set(destination "$<TARGET_BUNDLE_CONTENT_DIR:${target}>/Resources/Tools")
  else()
    set(destination "$<TARGET_FILE_DIR:${target}>/Tools")
  endif()
  add_custom_target(${target}-tools ALL
    COMMAND ${CMAKE_COMMAND} -E copy_directory "${CORVALIN_TOOLS_DIR}" "${destination}"
    COMMENT "Placing the Tools folder beside ${target}"
    VERBATIM)
  add_dependencies(${target}-tools ${target})
endfunction()
