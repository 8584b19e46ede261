# Compresses the manual pages and changelogs of all packages before CPack makes them.
file(GLOB_RECURSE files ${CPACK_TEMPORARY_DIRECTORY}/*)
list(FILTER files INCLUDE REGEX "/(man/man[135]/.*[135]|changelog.Debian)$")
execute_process(COMMAND gzip -9nf ${files} COMMAND_ERROR_IS_FATAL ANY)
