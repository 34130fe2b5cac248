# cairo (drawing), for the pictures of the orvel command. Defines Cairo::Cairo.
find_path(CAIRO_INCLUDE_DIR cairo.h PATH_SUFFIXES cairo)
find_library(CAIRO_LIBRARY cairo)
mark_as_advanced(CAIRO_INCLUDE_DIR CAIRO_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Cairo
    REQUIRED_VARS CAIRO_LIBRARY CAIRO_INCLUDE_DIR
    REASON_FAILURE_MESSAGE "install it with scripts/install-deps (Debian: libcairo2-dev)")

if(CAIRO_FOUND AND NOT TARGET Cairo::Cairo)
    add_library(Cairo::Cairo UNKNOWN IMPORTED)
    set_target_properties(Cairo::Cairo PROPERTIES
        IMPORTED_LOCATION "${CAIRO_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${CAIRO_INCLUDE_DIR}")
endif()
