# An engine's own core library in place of the bundled one.
include("${CMAKE_CURRENT_LIST_DIR}/Steps.cmake")

build(engine "${KYRORVEL}/examples/engine" "-DKYRORVEL_SOURCES=${KYRORVEL}" -DKYRORVEL_INSTALL=ON
    -DBUILD_SHARED_LIBS=ON
    "-DCMAKE_PROJECT_Engine_INCLUDE=${CMAKE_CURRENT_LIST_DIR}/ListTargets.cmake")
run("${WORK}/engine/engine")
expect_output("solved: yes
tasks of the engine: 1
memory of the engine: yes
bytes held at the end: 0
")

file(READ "${WORK}/engine/targets.txt" targets)
set(expected "engine EXECUTABLE
engineCore SHARED_LIBRARY
kyrOrvel SHARED_LIBRARY
kyrOrvelClient SHARED_LIBRARY
")
if(NOT targets STREQUAL expected)
    message(FATAL_ERROR "the engine has these targets:\n${targets}")
endif()

# Installed it lacks the core, and who finds it is told so.
install_and_move("${WORK}/engine" "${WORK}/prefix")
file(GLOB_RECURSE bundled "${WORK}/prefix/*kyrCore*" "${WORK}/prefix/*kyrorvel-core*")
if(bundled)
    message(FATAL_ERROR "the bundled core was installed: ${bundled}")
endif()
execute_process(COMMAND "${CMAKE_COMMAND}" -S "${KYRORVEL}/examples/consumer" -B "${WORK}/lacking" -G Ninja
        "-DCMAKE_CXX_COMPILER=${COMPILER}" "-DCMAKE_PREFIX_PATH=${WORK}/prefix"
    RESULT_VARIABLE code OUTPUT_VARIABLE output ERROR_VARIABLE output)
string(REGEX REPLACE "[ \n]+" " " output "${output}")
if(code EQUAL 0 OR NOT output MATCHES
   "built on an engine's core library \\(engineCore\\)\\. Before find_package\\(kyrOrvel\\) make that one known by add_library\\(kyrOrvel::kyrCore ALIAS")
    message(FATAL_ERROR "without the engine's core the consumer was told:\n${output}")
endif()

# Given the core, it works.
file(COPY "${WORK}/engine/libengineCore.so" DESTINATION "${WORK}/prefix/lib")
file(WRITE "${WORK}/core.cmake" "
add_library(engineCore SHARED IMPORTED)
set_target_properties(engineCore PROPERTIES IMPORTED_LOCATION \"${WORK}/prefix/lib/libengineCore.so\")
add_library(kyrOrvel::kyrCore ALIAS engineCore)
")
expect_consumer_by_cmake("${WORK}/prefix" "-DCMAKE_PROJECT_Consumer_INCLUDE=${WORK}/core.cmake")

# A core that does not exist is a mistake that is named.
execute_process(COMMAND "${CMAKE_COMMAND}" -S "${KYRORVEL}" -B "${WORK}/missing" -G Ninja -DKYR_CORE=noCore
        "-DCMAKE_CXX_COMPILER=${COMPILER}"
    RESULT_VARIABLE code OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(code EQUAL 0 OR NOT output MATCHES "KYR_CORE is noCore, which is no target")
    message(FATAL_ERROR "a core that does not exist: ${output}")
endif()
