# kyrorvel-client.pc, kyrorvel.pc and, for the bundled core, kyrorvel-core.pc: each requires the next.
# Like everything that is installed they may be moved with their prefix.
set(pkgConfigDir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
    set(prefix "${CMAKE_INSTALL_PREFIX}")
    set(libdir "${CMAKE_INSTALL_FULL_LIBDIR}")
    set(includedir "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
else()
    string(REGEX REPLACE "[^/]+" ".." up "${pkgConfigDir}")
    set(prefix "\${pcfiledir}/${up}")
    set(libdir "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
    set(includedir "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()

# kyrorvel_install_pkg_config(<name> <library> <description> <required packages> <private libraries>)
function(kyrorvel_install_pkg_config name library description requires privateLibraries)
    configure_file("${PROJECT_SOURCE_DIR}/cmake/pkg-config.pc.in" "${PROJECT_BINARY_DIR}/${name}.pc"
        @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/${name}.pc" DESTINATION "${pkgConfigDir}"
        COMPONENT Development)
endfunction()

if(KYRORVEL_HAVE_METIS)
    set(metis "-lmetis")
endif()
kyrorvel_install_pkg_config(kyrorvel-client kyrOrvelClient
    "${PROJECT_DESCRIPTION}: client layer" "kyrorvel = ${PROJECT_VERSION}" "${metis}")
if(KYR_CORE)
    kyrorvel_install_pkg_config(kyrorvel kyrOrvel
        "${PROJECT_DESCRIPTION}; add the flags of the engine's core library" "" "-lcolamd")
else()
    kyrorvel_install_pkg_config(kyrorvel kyrOrvel
        "${PROJECT_DESCRIPTION}" "kyrorvel-core = ${PROJECT_VERSION}" "-lcolamd")
    kyrorvel_install_pkg_config(kyrorvel-core kyrCore
        "The core library bundled with kyrOrvel: memory, threads, tasks" "apr-1 openthreads"
        "-pthread")
endif()
