# SPDX-License-Identifier: MIT
# Runs in cpack, between installation and packing: what Debian's packages have beyond the installed tree. The dependencies
# are found here and not by cpack, which would run ldconfig from maintainer scripts, in the place of its trigger.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
    return()
endif()
set(STAGE ${CPACK_TEMPORARY_DIRECTORY})

# Each component has a summary of its own.
unset(CPACK_PACKAGE_DESCRIPTION_SUMMARY)

# What the runtime package gives to others: which library is in which version of it.
set(CONTROL ${CPACK_TOPLEVEL_DIRECTORY}/control)
file(GLOB LIBRARIES ${STAGE}/Runtime/usr/lib/*/*.so.* ${STAGE}/Runtime/usr/lib/*.so.*)
set(SHLIBS "")
foreach(LIBRARY ${LIBRARIES})
    if(NOT IS_SYMLINK ${LIBRARY})
        get_filename_component(LIBRARY_DIR ${LIBRARY} DIRECTORY)
        string(REGEX REPLACE ".*/(.*)\\.so\\.([0-9]+).*" "\\1 \\2" NAME_AND_VERSION ${LIBRARY})
        string(APPEND SHLIBS "${NAME_AND_VERSION} ${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (>= ${CPACK_PACKAGE_VERSION})\n")
    endif()
endforeach()
file(WRITE ${CONTROL}/shlibs "${SHLIBS}")
file(WRITE ${CONTROL}/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CONTROL}/shlibs ${CONTROL}/triggers)

foreach(COMPONENT ${CPACK_COMPONENTS_ALL})
    string(TOUPPER ${COMPONENT} PREFIX)
    set(PREFIX CPACK_DEBIAN_${PREFIX}_PACKAGE)
    set(ROOT ${STAGE}/${COMPONENT})

    set(DOC ${ROOT}/usr/share/doc/${${PREFIX}_NAME})
    file(COPY ${CMAKE_CURRENT_LIST_DIR}/../packaging/debian/copyright DESTINATION ${DOC})
    configure_file(${CMAKE_CURRENT_LIST_DIR}/../packaging/debian/changelog ${DOC}/changelog.Debian COPYONLY)
    file(GLOB PAGES ${ROOT}/usr/share/man/man*/*.[1-8])
    execute_process(COMMAND gzip -9 -n ${DOC}/changelog.Debian ${PAGES} COMMAND_ERROR_IS_FATAL ANY)

    file(GLOB PROGRAMS ${ROOT}/usr/bin/*)
    if(COMPONENT STREQUAL "Runtime")
        set(PROGRAMS ${LIBRARIES})
    endif()
    if(PROGRAMS)
        file(WRITE ${CONTROL}/debian/control
             "Source: ${CPACK_DEBIAN_PACKAGE_SOURCE}\n\nPackage: ${${PREFIX}_NAME}\nArchitecture: any\n")
        file(MAKE_DIRECTORY ${ROOT}/DEBIAN) # by it $ORIGIN is understood
        execute_process(COMMAND dpkg-shlibdeps -O -L${CONTROL}/shlibs -l${LIBRARY_DIR} -x${${PREFIX}_NAME} ${PROGRAMS}
                        WORKING_DIRECTORY ${CONTROL} OUTPUT_VARIABLE DEPENDS COMMAND_ERROR_IS_FATAL ANY)
        file(REMOVE_RECURSE ${ROOT}/DEBIAN)
        string(REGEX REPLACE "^.*Depends=([^\n]*)\n.*$" "\\1" ${PREFIX}_DEPENDS "${DEPENDS}")
    endif()
endforeach()

file(REMOVE ${STAGE}/Documents/usr/share/doc/tolvane-systemapi/LICENSE) # the copyright file holds it
if(EXISTS ${STAGE}/Tool/usr/share/zsh/site-functions)
    file(RENAME ${STAGE}/Tool/usr/share/zsh/site-functions ${STAGE}/Tool/usr/share/zsh/vendor-completions)
endif()
