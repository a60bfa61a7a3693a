# How host projects get the library: the generated version header, the
# installation (components Runtime and Development) and the CMake package
# StableTime::StableTime for the install and the build tree.
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
