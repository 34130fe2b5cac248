# A project that builds the library as a part of itself, as engines build: without exceptions and type
# information, several sources at a time, optimised when it is linked if LINK_TIME says so. It gets the
# three libraries, static as is usual for CMake, and nothing else; told to, it installs them, and that
# install works as well.
include("${CMAKE_CURRENT_LIST_DIR}/Steps.cmake")

build(embedded "${KYRORVEL}/examples/embedded" "-DKYRORVEL_SOURCES=${KYRORVEL}" -DKYRORVEL_INSTALL=ON
    "-DCMAKE_CXX_FLAGS=-fno-exceptions -fno-rtti" -DCMAKE_UNITY_BUILD=ON
    -DCMAKE_INTERPROCEDURAL_OPTIMIZATION=${LINK_TIME}
    "-DCMAKE_PROJECT_Embedded_INCLUDE=${CMAKE_CURRENT_LIST_DIR}/ListTargets.cmake")
run("${WORK}/embedded/embedded")
expect_output("2 1 3\n")

file(READ "${WORK}/embedded/targets.txt" targets)
set(expected "embedded EXECUTABLE
kyrCore STATIC_LIBRARY
kyrOrvel STATIC_LIBRARY
kyrOrvelClient STATIC_LIBRARY
")
if(NOT targets STREQUAL expected)
    message(FATAL_ERROR "the embedding project has these targets:\n${targets}")
endif()

install_and_move("${WORK}/embedded" "${WORK}/prefix")
expect_consumer_by_cmake("${WORK}/prefix")
expect_consumer_by_pkg_config("${WORK}/prefix" static)
