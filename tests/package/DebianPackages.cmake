# The Debian packages: three, of the right names, that depend on what they need; unpacked they work.
include("${CMAKE_CURRENT_LIST_DIR}/Steps.cmake")
file(REMOVE_RECURSE "${WORK}")

run("${CPACK}" --config "${BUILD}/CPackConfig.cmake" -G DEB -B "${WORK}")

# Unpacks a package into WORK/root; its field Depends has to match.
function(expect_package name depends)
    file(GLOB package "${WORK}/${name}_*.deb")
    run(dpkg-deb --field "${package}" Depends)
    if(NOT output MATCHES "${depends}")
        message(FATAL_ERROR "${name} depends on ${output} which does not match ${depends}")
    endif()
    run(dpkg-deb --extract "${package}" "${WORK}/root")
    if(NOT EXISTS "${WORK}/root/usr/share/doc/${name}/copyright")
        message(FATAL_ERROR "${name} says nothing of its licence")
    endif()
endfunction()

expect_package(libkyrorvel${SOVERSION} "libapr1 .*libcolamd2 .*libopenthreads21 ")
expect_package(libkyrorvel-dev "libkyrorvel${SOVERSION} \\(= [0-9.]+\\).*libapr1-dev")
expect_package(orvel "libkyrorvel${SOVERSION} \\(= [0-9.]+\\).*libcairo2 ")
file(GLOB packages "${WORK}/*.deb")
list(LENGTH packages count)
if(NOT count EQUAL 3)
    message(FATAL_ERROR "these packages were made: ${packages}")
endif()

expect_consumer_by_pkg_config("${WORK}/root" shared)
run("${WORK}/root/usr/bin/orvel" demo)
if(NOT output MATCHES "residual")
    message(FATAL_ERROR "orvel demo printed:\n${output}")
endif()
