# Applied to every target of the project, never to third-party code.
# The debug presets (default, asan, fuzz: the builds CI checks warnings in) turn warnings into
# errors, so none can land unnoticed. Release builds leave them warnings: optimisation brings
# compiler-version-dependent warnings from Qt's headers that must not stop a package build.
option(CORVALIN_WARNINGS_AS_ERRORS "Treat compiler warnings as errors" OFF)

function(corvalin_set_warnings target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 $<$<BOOL:${CORVALIN_WARNINGS_AS_ERRORS}>:/WX>)
  else()
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic
                                             $<$<BOOL:${CORVALIN_WARNINGS_AS_ERRORS}>:-Werror>)
  endif()
endfunction()

# Q_ASSERT checks in every debug build, whatever the Qt build defines.
add_compile_definitions($<$<CONFIG:Debug>:QT_FORCE_ASSERTS>)
