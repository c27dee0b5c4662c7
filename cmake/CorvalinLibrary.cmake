# One static library per subsystem folder, so each can be built and tested on its own.
#   corvalin_add_library(corvalin_x SOURCES a.h a.cpp LIBRARIES corvalin_y ...)
function(corvalin_add_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${name} PUBLIC Qt6::Core QCoro6::Core ${ARG_LIBRARIES})
  corvalin_set_warnings(${name})
endfunction()
