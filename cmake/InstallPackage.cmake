# cmake --install: libraries, headers and the package files that find_package(kyrOrvel) and
# pkg-config read. What is needed to run belongs to the component Runtime, what is needed to build
# to Development, and the orvel command is Tool.
include(CMakePackageConfigHelpers)

set(packageDir "${CMAKE_INSTALL_LIBDIR}/cmake/kyrOrvel")
set(installedLibraries kyrOrvel kyrOrvelClient)
if(NOT KYR_CORE)
    list(APPEND installedLibraries kyrCore)
endif()

install(TARGETS ${installedLibraries} EXPORT kyrOrvelTargets
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
        COMPONENT Runtime NAMELINK_COMPONENT Development
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT Development
    FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT Development
    FILE_SET eigen DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT Development)
if(TARGET orvel)
    install(TARGETS orvel DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT Tool)
    install(FILES "${PROJECT_SOURCE_DIR}/docs/orvel.1"
        DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT Tool)
    install(FILES "${PROJECT_SOURCE_DIR}/tools/completion/orvel"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT Tool)
endif()
install(EXPORT kyrOrvelTargets NAMESPACE kyrOrvel:: DESTINATION "${packageDir}"
    COMPONENT Development)

configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/kyrOrvelConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/kyrOrvelConfig.cmake" INSTALL_DESTINATION "${packageDir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/kyrOrvelConfigVersion.cmake"
    COMPATIBILITY SameMinorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/kyrOrvelConfig.cmake"
    "${PROJECT_BINARY_DIR}/kyrOrvelConfigVersion.cmake"
    "${CMAKE_CURRENT_LIST_DIR}/FindAPR.cmake"
    "${CMAKE_CURRENT_LIST_DIR}/FindCOLAMD.cmake"
    "${CMAKE_CURRENT_LIST_DIR}/FindMETIS.cmake"
    "${CMAKE_CURRENT_LIST_DIR}/FindOpenThreadsTarget.cmake"
    DESTINATION "${packageDir}" COMPONENT Development)

include(PkgConfigFiles)
