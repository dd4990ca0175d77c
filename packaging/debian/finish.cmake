# Run by CPack on the files of the .deb before it packs them: what only a Debian package has, and
# times and permissions that depend on nothing. SOURCE_DATE_EPOCH is the date of all.

set(documents "${CPACK_TEMPORARY_DIRECTORY}/usr/share/doc/${CPACK_PACKAGE_NAME}")
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE "${documents}/changelog"
     "${CPACK_PACKAGE_NAME} (${CPACK_PACKAGE_VERSION}) stable; urgency=medium\n\n"
     "  * See the manual for what this version does.\n\n"
     " -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")
file(GLOB pages "${CPACK_TEMPORARY_DIRECTORY}/usr/share/man/man1/*.1")
execute_process(COMMAND gzip -9n "${documents}/changelog" ${pages} COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${CMAKE_CURRENT_LIST_DIR}/../settle.sh" "${CPACK_TEMPORARY_DIRECTORY}"
                COMMAND_ERROR_IS_FATAL ANY)
