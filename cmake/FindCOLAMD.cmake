# COLAMD (column approximate minimum degree orderings, with symamd). Defines COLAMD::COLAMD.
find_path(COLAMD_INCLUDE_DIR suitesparse/colamd.h)
find_library(COLAMD_LIBRARY colamd)
mark_as_advanced(COLAMD_INCLUDE_DIR COLAMD_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(COLAMD
    REQUIRED_VARS COLAMD_LIBRARY COLAMD_INCLUDE_DIR
    REASON_FAILURE_MESSAGE "install it with scripts/install-deps (Debian: libsuitesparse-dev)")

if(COLAMD_FOUND AND NOT TARGET COLAMD::COLAMD)
    add_library(COLAMD::COLAMD UNKNOWN IMPORTED)
    set_target_properties(COLAMD::COLAMD PROPERTIES
        IMPORTED_LOCATION "${COLAMD_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${COLAMD_INCLUDE_DIR}")
endif()
