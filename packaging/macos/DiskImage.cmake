# A disk image holding the bundle, to be dragged into Applications. Not yet built on a Mac.
set(CPACK_GENERATOR DragNDrop)
set(CPACK_DMG_VOLUME_NAME "Corvalin Studio")
set(CPACK_DMG_FORMAT UDZO)
set(CPACK_PACKAGE_FILE_NAME "CorvalinStudio-${PROJECT_VERSION}")
