# Run by CPack on the staged packages, before it archives them. Man pages are compressed
# here, as Debian wants them, whatever form their install rules give them.
file(GLOB man_pages LIST_DIRECTORIES false
     "${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/man/*/*")
foreach(page IN LISTS man_pages)
    if(NOT page MATCHES "\\.gz$" AND NOT IS_SYMLINK "${page}")
        execute_process(COMMAND gzip -9n "${page}" COMMAND_ERROR_IS_FATAL ANY)
    endif()
endforeach()

# A package whose changelog does not name its version is one dpkg and lintian distrust.
file(STRINGS "${CPACK_RAVO_CHANGELOG}" top LIMIT_COUNT 1)
if(NOT top MATCHES "^ravo \\(${CPACK_PACKAGE_VERSION}\\) ")
    message(FATAL_ERROR "packaging/debian/changelog has no entry for ${CPACK_PACKAGE_VERSION} "
                        "at its top (it starts: ${top})")
endif()
