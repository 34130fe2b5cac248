# kyrorvel_read_fences(FILE PREFIX): the fenced code blocks of a Markdown file.
#
#   PREFIX_COUNT        how many; they are numbered from 1
#   PREFIX_<i>_LANGUAGE, _BODY, _LINE   the word behind the opening ```, the lines between, the line
#                       number of the opening
#   PREFIX_<i>_PRINTS   whether the last line of text before it ends with "prints:", so that it is the
#                       output of the block before
#   PREFIX_PROBLEMS     blocks that are indented instead of fenced, or never closed

# Lists take strings apart at semicolons and keep brackets together; these stand in for them.
string(ASCII 1 _fences_semicolon)
string(ASCII 2 _fences_open)
string(ASCII 3 _fences_close)
string(ASCII 4 _fences_backslash)

function(_fences_hide variable)
    set(text "${${variable}}")
    string(REPLACE ";" "${_fences_semicolon}" text "${text}")
    string(REPLACE "[" "${_fences_open}" text "${text}")
    string(REPLACE "]" "${_fences_close}" text "${text}")
    string(REPLACE "\\" "${_fences_backslash}" text "${text}")
    set(${variable} "${text}" PARENT_SCOPE)
endfunction()

function(_fences_show variable)
    set(text "${${variable}}")
    string(REPLACE "${_fences_semicolon}" ";" text "${text}")
    string(REPLACE "${_fences_open}" "[" text "${text}")
    string(REPLACE "${_fences_close}" "]" text "${text}")
    string(REPLACE "${_fences_backslash}" "\\" text "${text}")
    set(${variable} "${text}" PARENT_SCOPE)
endfunction()

function(kyrorvel_read_fences file prefix)
    file(READ "${file}" text)
    _fences_hide(text)
    string(REPLACE "\n" ";" lines "${text}")
    set(count 0)
    set(number 0)
    set(inside FALSE)
    set(last "")     # line of text that is not empty
    set(previous "") # line
    set(problems "")
    foreach(line IN LISTS lines)
        math(EXPR number "${number} + 1")
        if(inside AND line STREQUAL "```")
            _fences_show(body)
            set(${prefix}_${count}_BODY "${body}" PARENT_SCOPE)
            set(inside FALSE)
        elseif(inside)
            string(APPEND body "${line}\n")
        elseif(line MATCHES "^```(.*)$")
            math(EXPR count "${count} + 1")
            set(${prefix}_${count}_LANGUAGE "${CMAKE_MATCH_1}" PARENT_SCOPE)
            set(${prefix}_${count}_LINE ${number} PARENT_SCOPE)
            set(prints FALSE)
            if(last MATCHES "prints:$")
                set(prints TRUE)
            endif()
            set(${prefix}_${count}_PRINTS ${prints} PARENT_SCOPE)
            set(inside TRUE)
            set(opened ${number})
            set(body "")
            set(last "")
        elseif(line MATCHES "^    " AND previous STREQUAL "")
            list(APPEND problems "line ${number} begins a block by its indentation: fence it")
        elseif(NOT line STREQUAL "")
            set(last "${line}")
        endif()
        set(previous "${line}")
    endforeach()
    if(inside)
        list(APPEND problems "the block of line ${opened} is not closed")
    endif()
    set(${prefix}_COUNT ${count} PARENT_SCOPE)
    set(${prefix}_PROBLEMS "${problems}" PARENT_SCOPE)
endfunction()
