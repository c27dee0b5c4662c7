# The macOS bundle (macOS 12 or later, see Info.plist.in). Written from Apple's and Qt's
# documentation; not yet built on a Mac.
set_target_properties(corvalin-studio PROPERTIES
  MACOSX_BUNDLE_INFO_PLIST ${CMAKE_CURRENT_SOURCE_DIR}/macos/Info.plist.in
  MACOSX_BUNDLE_GUI_IDENTIFIER ${CORVALIN_APP_ID}
  MACOSX_BUNDLE_BUNDLE_NAME "Corvalin Studio"
  MACOSX_BUNDLE_BUNDLE_VERSION ${PROJECT_VERSION}
  MACOSX_BUNDLE_SHORT_VERSION_STRING ${PROJECT_VERSION}
  MACOSX_BUNDLE_ICON_FILE CorvalinStudio.icns)

install(TARGETS corvalin-studio BUNDLE DESTINATION .)
set(resources corvalin-studio.app/Contents/Resources)
if(CORVALIN_TOOLS_DIR)
  install(DIRECTORY ${CORVALIN_TOOLS_DIR}/ DESTINATION ${resources}/Tools USE_SOURCE_PERMISSIONS)
endif()

# macdeployqt copies Qt, QCoro and the Qt plug-ins into the bundle and rewrites the load paths.
if(Qt6_VERSION VERSION_GREATER_EQUAL 6.5)
  qt_generate_deploy_app_script(TARGET corvalin-studio OUTPUT_SCRIPT deploy_script NO_TRANSLATIONS)
else()
  qt_generate_deploy_app_script(TARGET corvalin-studio FILENAME_VARIABLE deploy_script)
endif()
install(SCRIPT ${deploy_script})
