# What the code blocks of a document do, in their order and in one folder, as a reader would do it.
#
#   kyrorvel_begin_document(FILE WORK)    empties the folder
#   kyrorvel_run(LINE EXPECTED COMMAND...)  a program or shell block; EXPECTED is a file or empty
#   kyrorvel_configure(LINE CMAKE_FILE CPP_FILE BUILD)  a CMake block, used with an installed build

function(kyrorvel_begin_document file work)
    message(STATUS "${file}")
    file(REMOVE_RECURSE "${work}")
    file(MAKE_DIRECTORY "${work}")
    set(document "${file}" PARENT_SCOPE)
    set(work "${work}" PARENT_SCOPE)
endfunction()

function(_run_command line)
    execute_process(COMMAND ${ARGN} WORKING_DIRECTORY "${work}"
        RESULT_VARIABLE code OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT code EQUAL 0)
        message(FATAL_ERROR "${document}:${line} ended with ${code}:\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

function(kyrorvel_run line expected)
    _run_command(${line} ${ARGN})
    if(expected)
        file(READ "${expected}" wanted)
        if(NOT output STREQUAL wanted)
            message(FATAL_ERROR
                "${document}:${line} should print:\n${wanted}but prints:\n${output}")
        endif()
    endif()
    message(STATUS "line ${line}: done")
endfunction()

# A block without project() is one of a project with one program from the document. A block that
# finds kyrOrvel is built and the program run; one that adds its folder, or fetches it, is only
# configured. A block without add_executable() is given a program.
function(kyrorvel_configure line block source build)
    set(folder "${work}/project-${line}")
    file(MAKE_DIRECTORY "${folder}")
    file(READ "${block}" text)
    set(lists "${text}")
    if(NOT text MATCHES "project\\(")
        set(lists "cmake_minimum_required(VERSION 3.25)\nproject(Program LANGUAGES CXX)\n")
        if(NOT text MATCHES "add_executable\\(")
            string(APPEND lists "add_executable(program program.cpp)\n")
        endif()
        string(APPEND lists "${text}")
    endif()
    file(WRITE "${folder}/CMakeLists.txt" "${lists}")
    if(NOT lists MATCHES "add_executable\\(([^ ]+) +([^ )]+\\.cpp)")
        message(FATAL_ERROR "${document}:${line} names no program")
    endif()
    set(program "${CMAKE_MATCH_1}")
    file(COPY_FILE "${source}" "${folder}/${CMAKE_MATCH_2}")
    if(text MATCHES "add_subdirectory\\(([^ )]*kyrOrvel)|FetchContent")
        if(CMAKE_MATCH_1)
            get_filename_component(parent "${folder}/${CMAKE_MATCH_1}" DIRECTORY)
            file(MAKE_DIRECTORY "${parent}")
            file(CREATE_LINK "${root}" "${folder}/${CMAKE_MATCH_1}" SYMBOLIC)
        endif()
        _run_command(${line} "${CMAKE_COMMAND}" -S "${folder}" -B "${folder}/build" -G Ninja
            "-DFETCHCONTENT_SOURCE_DIR_KYRORVEL=${root}")
    else()
        _run_command(${line} "${CMAKE_COMMAND}" --install "${build}" --prefix "${work}/prefix")
        _run_command(${line} "${CMAKE_COMMAND}" -S "${folder}" -B "${folder}/build" -G Ninja
            "-DCMAKE_PREFIX_PATH=${work}/prefix" "-DCMAKE_CXX_FLAGS=${flags}")
        _run_command(${line} "${CMAKE_COMMAND}" --build "${folder}/build")
        _run_command(${line} "${folder}/build/${program}")
    endif()
    message(STATUS "line ${line}: configured")
endfunction()
