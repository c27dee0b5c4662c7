# The self-contained folder: executable, brand picture and Tools side by side.
set(app_folder lib/corvalin-studio)
install(TARGETS corvalin-studio RUNTIME DESTINATION ${app_folder})
install(FILES ${CORVALIN_BRAND_PICTURES}/CorvalinStudio-Owl-1024.png DESTINATION ${app_folder})
if(CORVALIN_TOOLS_DIR)
  # Libraries are loaded, not run: they lose the execute bits the tools' build gave them.
  install(DIRECTORY ${CORVALIN_TOOLS_DIR}/ DESTINATION ${app_folder}/Tools USE_SOURCE_PERMISSIONS
    REGEX "/lib/[^/]+$" PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  # A stripped installation (cmake --install --strip, and every package) strips the tools too.
  install(CODE "set(CORVALIN_STRIP \"${CMAKE_STRIP}\")\nset(CORVALIN_TOOLS_FOLDER ${app_folder}/Tools)")
  install(SCRIPT linux/StripTools.cmake)
endif()
if(TARGET corvalin-cfgutil)
  install(TARGETS corvalin-cfgutil RUNTIME DESTINATION ${app_folder}/Tools/bin)
endif()

# A relative link, so the installation can be moved with its prefix. The application resolves it
# to the real executable (through /proc/self/exe) before it looks for Tools.
install(CODE "
  set(bin_folder \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin\")
  file(MAKE_DIRECTORY \"\${bin_folder}\")
  message(STATUS \"Installing: \${bin_folder}/corvalin-studio\")
  file(CREATE_LINK ../${app_folder}/corvalin-studio \"\${bin_folder}/corvalin-studio\" SYMBOLIC)
")

# Desktop integration.
install(FILES linux/${CORVALIN_APP_ID}.desktop DESTINATION share/applications)
install(FILES linux/${CORVALIN_APP_ID}.metainfo.xml DESTINATION share/metainfo)
# The restore image type the desktop entry opens.
install(FILES linux/${CORVALIN_APP_ID}.mime.xml DESTINATION share/mime/packages RENAME ${CORVALIN_APP_ID}.xml)
foreach(size IN LISTS CORVALIN_ICON_SIZES)
  install(FILES ${CORVALIN_BRAND_PICTURES}/hicolor/${size}x${size}/apps/${CORVALIN_APP_ID}.png
    DESTINATION share/icons/hicolor/${size}x${size}/apps)
endforeach()
install(FILES ${CORVALIN_BRAND_DRAWING} DESTINATION share/icons/hicolor/scalable/apps
  RENAME ${CORVALIN_APP_ID}.svg)

# Lets the user at the seat open a watch in Recovery, DFU or Debug USB mode without root.
install(FILES linux/70-corvalin-studio.rules DESTINATION lib/udev/rules.d)
