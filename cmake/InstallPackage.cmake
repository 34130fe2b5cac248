# cmake --install: libraries, headers and the package files that find_package(kyrOrvel) reads.
include(CMakePackageConfigHelpers)

set(packageDir "${CMAKE_INSTALL_LIBDIR}/cmake/kyrOrvel")
set(installedLibraries kyrOrvel kyrOrvelClient)
if(NOT KYR_CORE)
    list(APPEND installedLibraries kyrCore)
endif()

install(TARGETS ${installedLibraries} EXPORT kyrOrvelTargets
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
    FILE_SET eigen DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
if(TARGET orvel)
    install(TARGETS orvel DESTINATION "${CMAKE_INSTALL_BINDIR}")
    install(FILES "${PROJECT_SOURCE_DIR}/docs/orvel.1"
        DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")
    install(FILES "${PROJECT_SOURCE_DIR}/tools/completion/orvel"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions")
endif()
install(EXPORT kyrOrvelTargets NAMESPACE kyrOrvel:: DESTINATION "${packageDir}")

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
    DESTINATION "${packageDir}")
