# Apache Portable Runtime, for its atomic operations. Defines APR::APR.
find_path(APR_INCLUDE_DIR apr_atomic.h PATH_SUFFIXES apr-1.0 apr-1)
find_library(APR_LIBRARY apr-1)
mark_as_advanced(APR_INCLUDE_DIR APR_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(APR
    REQUIRED_VARS APR_LIBRARY APR_INCLUDE_DIR
    REASON_FAILURE_MESSAGE "install it with scripts/install-deps (Debian: libapr1-dev)")

if(APR_FOUND AND NOT TARGET APR::APR)
    add_library(APR::APR UNKNOWN IMPORTED)
    set_target_properties(APR::APR PROPERTIES
        IMPORTED_LOCATION "${APR_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${APR_INCLUDE_DIR}")
endif()
