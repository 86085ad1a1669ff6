# The Debian package (cpack -G DEB) from a build with an empty ZEL_PLATFORM_ROOT, so that the
# program reads the real paths: the program and its links in /usr/bin, the manual page, the
# completion, the copyright and changelog, and the shipped configuration (see deb_layout.cmake).
set(ZEL_PACKAGE_MAINTAINER "zel-tool maintainers <zel-tool@example.com>"
    CACHE STRING "Maintainer field of the Debian package")

file(STRINGS doc/changelog changelog_top LIMIT_COUNT 1)
if(NOT changelog_top MATCHES "^zel-tool \\(${PROJECT_VERSION}\\) ")
    message(FATAL_ERROR "doc/changelog does not start with an entry for version ${PROJECT_VERSION}: add one.")
endif()

# Debian keeps configuration files in /etc and marks them as such, so that an upgrade keeps
# local changes; deb_layout.cmake moves them there and links the directory the program reads.
set(ZEL_DEB_CONF_DIR /etc/zel-tool/conf)
include(GNUInstallDirs)
install(FILES cmake/lintian-overrides DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME zel-tool)
file(GLOB_RECURSE conf_files RELATIVE ${PROJECT_SOURCE_DIR}/conf CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/conf/*)
list(SORT conf_files)
list(TRANSFORM conf_files PREPEND ${ZEL_DEB_CONF_DIR}/)
list(JOIN conf_files "\n" conffiles)
file(WRITE ${PROJECT_BINARY_DIR}/conffiles "${conffiles}\n")

set(CPACK_PACKAGE_NAME zel-tool)
set(CPACK_PACKAGE_CONTACT "${ZEL_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "maintenance command line of the SoC platform")
set(CPACK_PACKAGE_DESCRIPTION "zel-tool runs one maintenance command per call, checked against command
patterns configured per plug-in. log-control sets log levels through the
DLT daemon and on the MCU; log-convert prints stored DLT log files as text
and follows them as they grow.")
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
# The maintainer scripts move a configuration directory found where the link goes into /etc.
set(control_extra ${PROJECT_BINARY_DIR}/conffiles)
foreach(script preinst postinst postrm)
    configure_file(cmake/deb/${script} ${PROJECT_BINARY_DIR}/deb-control/${script} @ONLY)
    list(APPEND control_extra ${PROJECT_BINARY_DIR}/deb-control/${script})
endforeach()
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${control_extra})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/deb_layout.cmake)
set(CPACK_ZEL_CONF_DIR "${ZEL_USER_CONF_DIR}")
set(CPACK_ZEL_CONF_PATH "${ZEL_USER_CONF_PATH}")
set(CPACK_ZEL_DEB_CONF_DIR ${ZEL_DEB_CONF_DIR})
set(CPACK_GENERATOR DEB)
include(CPack)
