# The distribution's build flags for binaries it ships (Debian's dpkg-buildflags): stack
# protector, _FORTIFY_SOURCE, format checks, and RELRO with BIND_NOW, so that the package's
# executables are hardened the way the distribution's own are. Only where dpkg-buildflags
# exists; the packages' build turns it on.
option(CORVALIN_DISTRIBUTION_FLAGS "Build with the distribution's hardening flags (dpkg-buildflags)" OFF)
if(CORVALIN_DISTRIBUTION_FLAGS)
  find_program(CORVALIN_DPKG_BUILDFLAGS dpkg-buildflags REQUIRED)
  # All hardening features (bindnow included); no file-prefix maps, whose value would depend on
  # the folder the build happens to start from.
  set(maint_options "hardening=+all reproducible=-fixfilepath,-fixdebugpath")
  foreach(kind CPPFLAGS CXXFLAGS LDFLAGS)
    execute_process(
      COMMAND ${CMAKE_COMMAND} -E env "DEB_BUILD_MAINT_OPTIONS=${maint_options}"
              ${CORVALIN_DPKG_BUILDFLAGS} --get ${kind}
      OUTPUT_VARIABLE distribution_${kind} OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
  string(APPEND CMAKE_CXX_FLAGS " ${distribution_CPPFLAGS} ${distribution_CXXFLAGS}")
  string(APPEND CMAKE_EXE_LINKER_FLAGS " ${distribution_LDFLAGS}")
  string(APPEND CMAKE_SHARED_LINKER_FLAGS " ${distribution_LDFLAGS}")
  message(STATUS "Distribution flags: ${distribution_CPPFLAGS} ${distribution_CXXFLAGS} | ${distribution_LDFLAGS}")
endif()
