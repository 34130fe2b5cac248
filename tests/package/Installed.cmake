# The build at BUILD, installed: found by CMake, and by pkg-config.
include("${CMAKE_CURRENT_LIST_DIR}/Steps.cmake")
file(REMOVE_RECURSE "${WORK}")

install_and_move("${BUILD}" "${WORK}/prefix")
expect_consumer_by_cmake("${WORK}/prefix")
if(SHARED)
    expect_consumer_by_pkg_config("${WORK}/prefix" shared)
else()
    expect_consumer_by_pkg_config("${WORK}/prefix" static)
endif()
