# How host projects get the library: the generated version header, the
# installation (components Runtime and Development), the CMake package
# StableTime::StableTime for the install and the build tree, the pkg-config
# file stabletime.pc, and the Debian package made by `cpack -G DEB`.
# Included from the top-level CMakeLists.txt after the library target.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(STI_TARGET DRNQVLStiWBX_StableTime)
set(STI_CMAKE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/StableTime)

# --- Version header: the project version as C macros -----------------------
set(STI_GENERATED_INCLUDE_DIR "${PROJECT_BINARY_DIR}/include")
configure_file("${PROJECT_SOURCE_DIR}/cmake/version.h.in"
               "${STI_GENERATED_INCLUDE_DIR}/stabletime/version.h" @ONLY)
target_include_directories(${STI_TARGET} PUBLIC $<BUILD_INTERFACE:${STI_GENERATED_INCLUDE_DIR}>)

# --- Installation ----------------------------------------------------------
install(TARGETS ${STI_TARGET} EXPORT StableTimeTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime
          NAMELINK_COMPONENT Development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Runtime)
install(DIRECTORY include/stabletime "${STI_GENERATED_INCLUDE_DIR}/stabletime"
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT Development)

# --- CMake package: find_package(StableTime) gives StableTime::StableTime ---
# The same files serve the build tree (StableTime_DIR=<build folder>) and,
# installed, the install prefix: the targets file locates itself.
install(EXPORT StableTimeTargets NAMESPACE StableTime::
        DESTINATION ${STI_CMAKE_PACKAGE_DIR} COMPONENT Development)
export(EXPORT StableTimeTargets NAMESPACE StableTime::
       FILE "${PROJECT_BINARY_DIR}/StableTimeTargets.cmake")
configure_package_config_file(cmake/StableTimeConfig.cmake.in
  "${PROJECT_BINARY_DIR}/StableTimeConfig.cmake"
  INSTALL_DESTINATION ${STI_CMAKE_PACKAGE_DIR})
write_basic_package_version_file("${PROJECT_BINARY_DIR}/StableTimeConfigVersion.cmake"
  VERSION ${StableTime_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/StableTimeConfig.cmake"
              "${PROJECT_BINARY_DIR}/StableTimeConfigVersion.cmake"
        DESTINATION ${STI_CMAKE_PACKAGE_DIR} COMPONENT Development)

# --- pkg-config ------------------------------------------------------------
# Written at install time, so that the file names the prefix actually
# installed to (cmake --install --prefix, or /usr inside the Debian package).
# The library file has no "lib" prefix, so it is linked by file name (-l:).
# Outside the linker's own folders the file adds an rpath, so that a program
# built with it also runs without LD_LIBRARY_PATH.
if(UNIX AND NOT APPLE)
  set(STI_PC_TEMPLATE "${PROJECT_SOURCE_DIR}/cmake/stabletime.pc.in")
  set(STI_PC_FILE "${PROJECT_BINARY_DIR}/pkgconfig/stabletime.pc")
  install(CODE "
    set(STI_PC_PREFIX \"\${CMAKE_INSTALL_PREFIX}\")
    set(STI_PC_LIBDIR \"${CMAKE_INSTALL_LIBDIR}\")
    set(STI_PC_INCLUDEDIR \"${CMAKE_INSTALL_INCLUDEDIR}\")
    set(STI_PC_VERSION \"${StableTime_VERSION}\")
    set(STI_PC_LIBRARY_FILE \"$<TARGET_LINKER_FILE_NAME:${STI_TARGET}>\")
    set(STI_PC_RPATH \"-Wl,-rpath,\\\${libdir} \")
    foreach(dir IN ITEMS ${CMAKE_C_IMPLICIT_LINK_DIRECTORIES})
      if(\"\${STI_PC_PREFIX}/\${STI_PC_LIBDIR}\" STREQUAL dir)
        set(STI_PC_RPATH \"\")
      endif()
    endforeach()
    configure_file(\"${STI_PC_TEMPLATE}\" \"${STI_PC_FILE}\" @ONLY)
    " COMPONENT Development)
  install(FILES "${STI_PC_FILE}" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
          COMPONENT Development)
endif()

# --- Debian package: cpack -G DEB in the build folder ----------------------
# One package, stabletime, with the library, its headers, the CMake package
# and the pkg-config file, installed under /usr. The Python package is left
# out (pip installs it, see the README).
if(PROJECT_IS_TOP_LEVEL)
  set(CPACK_PACKAGE_NAME stabletime)
  set(CPACK_PACKAGE_VENDOR "StableTime developers")
  set(CPACK_PACKAGE_CONTACT "StableTime developers <stabletime@example.org>")
  set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
      "stable time increments of explicit dynamic finite element analysis")
  set(CPACK_PACKAGE_DESCRIPTION
      "Shared library DRNQVLStiWBX_StableTime: one C call returns the stable time increment of every element of a mesh. With its headers, CMake package (StableTime::StableTime) and pkg-config file (stabletime).")
  set(CPACK_PACKAGE_VERSION ${StableTime_VERSION})
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_INSTALL_PREFIX /usr)
  # The install scripts see /usr as the prefix (the pkg-config file records it).
  set(CPACK_SET_DESTDIR ON)
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
  set(CPACK_COMPONENTS_ALL Runtime Development)
  set(CPACK_DEBIAN_PACKAGE_NAME stabletime)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION libs)
  # Dependencies from the library's own needs (libc6, libstdc++6, libgcc-s1),
  # and a shlibs file and ldconfig trigger for the library.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
  set(CPACK_DEBIAN_PACKAGE_SUGGESTS "pkg-config, cmake")
  include(CPack)
endif()
