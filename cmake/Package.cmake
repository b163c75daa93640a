# SPDX-License-Identifier: MIT
# Packages, by cpack: an archive of the whole tree, and where the libraries are shared also Debian's packages, one for
# each component. scripts/packages builds and checks them.
set(CPACK_PACKAGE_NAME tolvane-systemapi)
set(CPACK_PACKAGE_VENDOR "Tolvane developers")
set(CPACK_PACKAGE_CONTACT "Tolvane developers <systemapi@tolvane.invalid>")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGE_FILE_NAME tolvane-systemapi-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR})
set(CPACK_GENERATOR TGZ)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/StageDebian.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/SortArchive.cmake)
set(CPACK_STRIP_FILES ON)

if(BUILD_SHARED_LIBS)
    list(APPEND CPACK_GENERATOR DEB)
    set(CPACK_COMPONENTS_ALL Runtime Development Documents)
    if(SYSTEMAPI_BUILD_TOOL)
        list(APPEND CPACK_COMPONENTS_ALL Tool)
    endif()
    set(CPACK_DEB_COMPONENT_INSTALL ON)
    set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
    set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
    set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
    set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
    set(CPACK_DEBIAN_PACKAGE_SOURCE ${CPACK_PACKAGE_NAME})

    # The revision is that of the last entry of Debian's changelog.
    set(CHANGELOG ${PROJECT_SOURCE_DIR}/packaging/debian/changelog)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CHANGELOG})
    file(STRINGS ${CHANGELOG} ENTRY LIMIT_COUNT 1)
    if(NOT ENTRY MATCHES "^tolvane-systemapi \\(${PROJECT_VERSION}-([0-9]+)\\)")
        message(FATAL_ERROR "The last entry of ${CHANGELOG} is not of version ${PROJECT_VERSION}: ${ENTRY}")
    endif()
    set(CPACK_DEBIAN_PACKAGE_RELEASE ${CMAKE_MATCH_1})

    set(SYSTEMAPI_IS "SystemApi gives programs one flat, C-callable interface to files and folders,
hardware, processes, and the system as a whole.")

    set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libtolvane-systemapi${PROJECT_VERSION_MAJOR})
    set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
    set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS procps)
    set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS "dmidecode, sudo")
    set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "one flat, C-callable interface to the operating system
${SYSTEMAPI_IS}

This package holds the shared libraries.")

    set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtolvane-systemapi-dev)
    set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
    set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS libtolvane-systemapi-doc)
    set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS Runtime)
    set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "interface to the operating system - development files
${SYSTEMAPI_IS}

This package holds the headers, and the files by which CMake and pkg-config
find the libraries.")

    set(CPACK_DEBIAN_TOOL_PACKAGE_NAME systemapi)
    set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
    set(CPACK_COMPONENT_TOOL_DESCRIPTION "report of a machine, and every operation of SystemApi as a command
${SYSTEMAPI_IS}

This package holds the tool, which shows what the library knows of a machine.")

    set(CPACK_DEBIAN_DOCUMENTS_PACKAGE_NAME libtolvane-systemapi-doc)
    set(CPACK_DEBIAN_DOCUMENTS_PACKAGE_SECTION doc)
    set(CPACK_DEBIAN_DOCUMENTS_PACKAGE_ARCHITECTURE all)
    set(CPACK_COMPONENT_DOCUMENTS_DESCRIPTION "interface to the operating system - documents
${SYSTEMAPI_IS}

This package holds the documents and the examples.")
endif()

include(CPack)
