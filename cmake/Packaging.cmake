# Debian packages: ravo (the app and its helpers) and ravo-server, one per install component.
# scripts/package.sh builds them; each install() rule names its component.

set(RAVO_PACKAGE_MAINTAINER "The Ravo developers <ravo@example.org>"
    CACHE STRING "The Maintainer of the Debian packages")
set(ravo_debian ${PROJECT_SOURCE_DIR}/packaging/debian)

# What only the packages carry, left out of a plain `cmake --install`: a second install
# would put the example configuration over the operator's own.
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/packaging)
execute_process(COMMAND gzip -9n --stdout ${ravo_debian}/changelog
                OUTPUT_FILE ${PROJECT_BINARY_DIR}/packaging/changelog.gz
                COMMAND_ERROR_IS_FATAL ANY)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${ravo_debian}/changelog)
foreach(package ravo ravo-server)
    install(FILES ${ravo_debian}/copyright ${PROJECT_BINARY_DIR}/packaging/changelog.gz
            DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
            COMPONENT ${package} EXCLUDE_FROM_ALL)
    install(FILES ${ravo_debian}/${package}/lintian-overrides RENAME ${package}
            DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
            COMPONENT ${package} EXCLUDE_FROM_ALL)
endforeach()
install(FILES ${ravo_debian}/ravo-server/ravo-server.conf DESTINATION /etc/ravo-server
        PERMISSIONS OWNER_READ OWNER_WRITE COMPONENT ravo-server EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ravo)
set(CPACK_PACKAGE_VENDOR "The Ravo developers")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL ravo ravo-server)
# Compresses the man pages and checks the changelog names this version.
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/PackagingStage.cmake)
set(CPACK_RAVO_CHANGELOG ${ravo_debian}/changelog)

# ravo_0.1.0_amd64.deb: a native version, so the changelog is changelog.gz.
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE ravo)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${RAVO_PACKAGE_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

set(CPACK_DEBIAN_RAVO_PACKAGE_NAME ravo)
set(CPACK_DEBIAN_RAVO_PACKAGE_SECTION utils)
# Qt loads its platform plugin at run time, so the libraries alone do not name it.
set(CPACK_DEBIAN_RAVO_PACKAGE_DEPENDS "qt6-qpa-plugins")
# The window icon is an SVG, drawn by Qt's SVG plugin.
set(CPACK_DEBIAN_RAVO_PACKAGE_RECOMMENDS "libqt6svg6")
set(CPACK_DEBIAN_RAVO_DESCRIPTION "tray monitor for the machine, AI subscription limits and agent sessions
Ravo lives in the tray and shows the machine's health (processor, graphics,
memory, disk, network, temperatures), the remaining limits of Claude and Codex
subscriptions, and the state of agent sessions (running, waiting, done).
Without a tray it opens an overview window, and without a display it runs as
a dashboard in the terminal.
.
This package holds ravo, the hook the agents run (ravo-hook), the
responsiveness test client (ravo-netquality) and the release signing tool
(ravo-release).")

set(CPACK_DEBIAN_RAVO-SERVER_PACKAGE_NAME ravo-server)
set(CPACK_DEBIAN_RAVO-SERVER_PACKAGE_SECTION net)
# adduser for the postinst; deb-systemd-helper comes with the essential init-system-helpers.
set(CPACK_DEBIAN_RAVO-SERVER_PACKAGE_DEPENDS "adduser")
set(CPACK_DEBIAN_RAVO-SERVER_PACKAGE_CONTROL_EXTRA
    ${ravo_debian}/ravo-server/conffiles
    ${ravo_debian}/ravo-server/postinst
    ${ravo_debian}/ravo-server/prerm
    ${ravo_debian}/ravo-server/postrm)
set(CPACK_DEBIAN_RAVO-SERVER_DESCRIPTION "companion service of Ravo: accounts, website monitoring and alerts
ravo-server keeps accounts, devices and monitored websites for Ravo, checks
every site at its interval (status, response time, keyword, certificate),
keeps the uptime history, sends outage and recovery alerts to Telegram and
serves the responsiveness test and published releases.
.
The package creates the ravo-server system user, its state folder and an
example configuration in /etc/ravo-server, and enables the systemd unit
without starting it: configure it first, then start it.")

include(CPack)
