# cmake -DBUILD=... -DSOURCE=... -DWORK=... -P: installs a build into a prefix of its own, builds the
# consumer project against it and runs that.
function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE code OUTPUT_VARIABLE output
        ERROR_VARIABLE output)
    if(NOT code EQUAL 0)
        message(FATAL_ERROR "${ARGN}\nended with ${code}:\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE "${WORK}")
run("${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${WORK}/prefix")
run("${CMAKE_COMMAND}" -S "${SOURCE}" -B "${WORK}/build" -G Ninja
    "-DCMAKE_PREFIX_PATH=${WORK}/prefix" "-DCMAKE_CXX_FLAGS=${FLAGS}")
run("${CMAKE_COMMAND}" --build "${WORK}/build")
run("${WORK}/build/consumer")
if(NOT output STREQUAL "2 1 3\n")
    message(FATAL_ERROR "the consumer printed:\n${output}")
endif()
