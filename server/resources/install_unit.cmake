# Installs the systemd unit, its ExecStart naming the binary where this install puts it:
# /usr/local/bin from a plain `cmake --install`, /usr/bin in the Debian package.
file(READ "${RAVO_UNIT_SOURCE}" unit)
set(binary "${CMAKE_INSTALL_PREFIX}/${RAVO_UNIT_BINDIR}/ravo-server")
string(REPLACE "ExecStart=/usr/local/bin/ravo-server " "ExecStart=${binary} " unit "${unit}")
if(NOT unit MATCHES "\nExecStart=${binary} ")
    message(FATAL_ERROR "${RAVO_UNIT_SOURCE}: no ExecStart=/usr/local/bin/ravo-server to point at ${binary}")
endif()
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(unit_dir /lib/systemd/system) # where Debian 12's packages keep units
else()
    set(unit_dir "${CMAKE_INSTALL_PREFIX}/lib/systemd/system")
endif()
file(WRITE "${RAVO_UNIT_STAGING}" "${unit}")
file(INSTALL "${RAVO_UNIT_STAGING}" DESTINATION "${unit_dir}")
