# What every target of this project shares. Results are promised to the bit, so the floating-point
# model is a property of the target and not left to anybody's flags: no contraction into fused
# multiply-adds, and -ffast-math from outside is taken back.
function(kyrorvel_configure_target target)
    target_compile_features(${target} PUBLIC cxx_std_17)
    # Exceptions and type information as well, which many engines turn off for everything.
    target_compile_options(${target} PRIVATE -fno-fast-math -ffp-contract=off -fexceptions -frtti)
    set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
    if(KYRORVEL_WARNINGS)
        target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                                                 -Wold-style-cast -Wnon-virtual-dtor)
    endif()
    if(KYRORVEL_WARNINGS_AS_ERRORS)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()

# For programs whose hard work is in the libraries, which have levels of their own: they take longer to
# compile than to run, and compile in half to two thirds of the time at these levels.
function(kyrorvel_compile_quickly target)
    if(CMAKE_CXX_FLAGS MATCHES "-fsanitize")
        target_compile_options(${target} PRIVATE -O0)
    else()
        target_compile_options(${target} PRIVATE $<$<NOT:$<CONFIG:Debug>>:-O1>)
    endif()
endfunction()

# A library: hidden symbols, a version in its name, its headers verified to compile alone.
function(kyrorvel_configure_library target)
    kyrorvel_configure_target(${target})
    set_target_properties(${target} PROPERTIES
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        POSITION_INDEPENDENT_CODE ON
        INSTALL_RPATH "$ORIGIN"
        UNITY_BUILD OFF # names without linkage repeat from file to file
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}
        VERIFY_INTERFACE_HEADER_SETS ${PROJECT_IS_TOP_LEVEL})
endfunction()
