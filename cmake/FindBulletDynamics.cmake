# Bullet's rigid bodies, for examples/bullet. Defines BulletDynamics::float32 and
# BulletDynamics::float64, the latter where Bullet is installed for double precision as well.
# CMake's own FindBullet and Bullet's own package know only one of them.
find_path(BULLET_DYNAMICS_INCLUDE_DIR btBulletDynamicsCommon.h PATH_SUFFIXES bullet)
foreach(part IN ITEMS BulletDynamics BulletCollision LinearMath)
    find_library(BULLET_${part}_float32 ${part})
    find_library(BULLET_${part}_float64 ${part}-float64)
    mark_as_advanced(BULLET_${part}_float32 BULLET_${part}_float64)
endforeach()
mark_as_advanced(BULLET_DYNAMICS_INCLUDE_DIR)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(BulletDynamics
    REQUIRED_VARS BULLET_BulletDynamics_float32 BULLET_BulletCollision_float32
        BULLET_LinearMath_float32 BULLET_DYNAMICS_INCLUDE_DIR
    REASON_FAILURE_MESSAGE "Debian: libbullet-dev")

if(BulletDynamics_FOUND)
    foreach(precision IN ITEMS float32 float64)
        if(BULLET_BulletDynamics_${precision} AND NOT TARGET BulletDynamics::${precision})
            add_library(BulletDynamics::${precision} UNKNOWN IMPORTED)
            set_target_properties(BulletDynamics::${precision} PROPERTIES
                IMPORTED_LOCATION "${BULLET_BulletDynamics_${precision}}"
                INTERFACE_INCLUDE_DIRECTORIES "${BULLET_DYNAMICS_INCLUDE_DIR}"
                INTERFACE_LINK_LIBRARIES
                    "${BULLET_BulletCollision_${precision}};${BULLET_LinearMath_${precision}}")
        endif()
    endforeach()
    if(TARGET BulletDynamics::float64)
        set_target_properties(BulletDynamics::float64 PROPERTIES
            INTERFACE_COMPILE_DEFINITIONS BT_USE_DOUBLE_PRECISION)
    endif()
endif()
