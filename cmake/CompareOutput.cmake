# cmake -DPROGRAM=... -DEXPECTED=... -P: runs a program and compares its output with a file.
execute_process(COMMAND "${PROGRAM}" OUTPUT_VARIABLE actual RESULT_VARIABLE code)
file(READ "${EXPECTED}" expected)
if(NOT code EQUAL 0)
    message(FATAL_ERROR "${PROGRAM} ended with ${code}:\n${actual}")
endif()
if(NOT actual STREQUAL expected)
    message(FATAL_ERROR "expected:\n${expected}\nactual:\n${actual}")
endif()
