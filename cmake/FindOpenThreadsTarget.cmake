# OpenThreads, as a target: OpenThreads::OpenThreads.
find_path(OPENTHREADS_INCLUDE_DIR OpenThreads/Thread)
find_library(OPENTHREADS_LIBRARY OpenThreads)
mark_as_advanced(OPENTHREADS_INCLUDE_DIR OPENTHREADS_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(OpenThreadsTarget
    REQUIRED_VARS OPENTHREADS_LIBRARY OPENTHREADS_INCLUDE_DIR
    REASON_FAILURE_MESSAGE "install it with scripts/install-deps (Debian: libopenthreads-dev)")

if(OpenThreadsTarget_FOUND AND NOT TARGET OpenThreads::OpenThreads)
    add_library(OpenThreads::OpenThreads UNKNOWN IMPORTED)
    set_target_properties(OpenThreads::OpenThreads PROPERTIES
        IMPORTED_LOCATION "${OPENTHREADS_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${OPENTHREADS_INCLUDE_DIR}")
endif()
