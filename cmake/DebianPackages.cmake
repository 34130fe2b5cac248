# cpack -G DEB, best by `cmake --workflow --preset package`: libkyrorvel<soversion>, libkyrorvel-dev
# and orvel, from the components of the install. What the programs load is found by dpkg-shlibdeps.
set(soversion "${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}")
set(runtimePackage "libkyrorvel${soversion}")

set(CPACK_PACKAGE_NAME kyrorvel)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_CONTACT "kyrOrvel developers <none>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL Runtime Development Tool)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
    "${PROJECT_BINARY_DIR}/core" "${PROJECT_BINARY_DIR}/src" "${PROJECT_BINARY_DIR}/client")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME "${runtimePackage}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
"LDL^T without pivoting for physics engines, robots and games: the same bits
every time, with a clear word when the system is singular. The libraries.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkyrorvel-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtimePackage} (= ${PROJECT_VERSION}), \
libapr1-dev, libboost-dev, libopenthreads-dev")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
"Headers and what CMake and pkg-config read.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME orvel)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION science)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${runtimePackage} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_TOOL_DESCRIPTION
"The orvel command: solves, checks, measures and draws such systems, given as Matrix Market files.")

# Static libraries belong to the development package, which then also needs what they link to.
if(NOT BUILD_SHARED_LIBS)
    set(CPACK_COMPONENTS_ALL Development Tool)
    set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
        "libapr1-dev, libboost-dev, libopenthreads-dev, libsuitesparse-dev, libmetis-dev")
    set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "")
endif()

set(components Runtime Development Tool)
set(packages "${runtimePackage}" libkyrorvel-dev orvel)
foreach(component package IN ZIP_LISTS components packages)
    install(FILES "${PROJECT_SOURCE_DIR}/cmake/debian/copyright"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${package}"
        COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

include(CPack)
