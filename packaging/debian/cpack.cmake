# Read by cpack before it packs: every file bears the date of the newest change, so that the same build makes the same
# packages.
execute_process(COMMAND dpkg-parsechangelog --file ${CMAKE_CURRENT_LIST_DIR}/changelog --show-field Timestamp
                OUTPUT_VARIABLE timestamp OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set(ENV{SOURCE_DATE_EPOCH} ${timestamp})
