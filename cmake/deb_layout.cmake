# Run by CPack between staging the install tree and packing it: moves the shipped configuration
# to /etc, where Debian keeps configuration files, and leaves a link in its place, the fixed
# directory the program reads.
if(NOT CPACK_ZEL_CONF_DIR STREQUAL CPACK_ZEL_CONF_PATH)
    message(FATAL_ERROR "The package is built from a build with an empty ZEL_PLATFORM_ROOT; "
                        "this one reads ${CPACK_ZEL_CONF_DIR}.")
endif()
set(stage "${CPACK_TEMPORARY_DIRECTORY}")
get_filename_component(parent "${stage}${CPACK_ZEL_DEB_CONF_DIR}" DIRECTORY)
file(MAKE_DIRECTORY "${parent}")
file(RENAME "${stage}${CPACK_ZEL_CONF_DIR}" "${stage}${CPACK_ZEL_DEB_CONF_DIR}")
file(CREATE_LINK "${CPACK_ZEL_DEB_CONF_DIR}" "${stage}${CPACK_ZEL_CONF_DIR}" SYMBOLIC)
