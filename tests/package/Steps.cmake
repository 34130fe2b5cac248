# What the tests of installing and embedding share. KYRORVEL is the folder of the sources, WORK one of
# the test's own.

# Runs a command; `output` is then what it printed. A failure ends the test and shows it.
function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE code OUTPUT_VARIABLE output
        ERROR_VARIABLE output)
    if(NOT code EQUAL 0)
        list(JOIN ARGN " " command)
        message(FATAL_ERROR "${command}\nended with ${code}:\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

# The last command has to have printed exactly this.
function(expect_output expected)
    if(NOT output STREQUAL expected)
        message(FATAL_ERROR "expected:\n${expected}\nprinted:\n${output}")
    endif()
endfunction()

# Configures and builds a project in WORK/<name>, quickly: nothing here is about speed.
function(build name source)
    run("${CMAKE_COMMAND}" -S "${source}" -B "${WORK}/${name}" -G Ninja
        -DCMAKE_BUILD_TYPE=Debug "-DCMAKE_CXX_FLAGS_DEBUG=-O0"
        "-DCMAKE_CXX_COMPILER=${COMPILER}" "-DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER}" ${ARGN})
    run("${CMAKE_COMMAND}" --build "${WORK}/${name}")
endfunction()

# Installs a build under a name that it does not keep: what it holds must not know where it is.
function(install_and_move build prefix)
    run("${CMAKE_COMMAND}" --install "${build}" --prefix "${prefix}.before")
    file(REMOVE_RECURSE "${prefix}")
    file(RENAME "${prefix}.before" "${prefix}")
endfunction()

# The consumer, built against an install by CMake and run.
function(expect_consumer_by_cmake prefix)
    build(consumer "${KYRORVEL}/examples/consumer" "-DCMAKE_PREFIX_PATH=${prefix}" ${ARGN})
    run("${WORK}/consumer/consumer")
    expect_output("2 1 3\n")
endfunction()

# The consumer, built against an install by pkg-config alone and run.
function(expect_consumer_by_pkg_config prefix libraries)
    file(MAKE_DIRECTORY "${WORK}/pkg-config")
    run("${CMAKE_COMMAND}" -E env "PREFIX=${prefix}" "CONSUMER=${KYRORVEL}/examples/consumer"
        "${CMAKE_COMMAND}" -E chdir "${WORK}/pkg-config"
        sh "${KYRORVEL}/tests/package/${libraries}_by_pkg_config.sh")
    expect_output("2 1 3\n")
endfunction()
