# SPDX-License-Identifier: MIT
# Runs in cpack, after packing: cpack's archive holds the files in the order of the folder, which is the machine's, so it
# is packed again in the order of the names.
if(NOT CPACK_GENERATOR STREQUAL "TGZ")
    return()
endif()
if(DEFINED ENV{SOURCE_DATE_EPOCH})
    set(MTIME --mtime=@$ENV{SOURCE_DATE_EPOCH})
endif()
get_filename_component(STAGE ${CPACK_TEMPORARY_DIRECTORY} DIRECTORY)
execute_process(COMMAND tar --sort=name --format=ustar --owner=root:0 --group=root:0 ${MTIME}
                        -c -C ${STAGE} ${CPACK_PACKAGE_FILE_NAME}
                COMMAND gzip -9 -n
                OUTPUT_FILE ${CPACK_PACKAGE_FILES} COMMAND_ERROR_IS_FATAL ANY)
