# SPDX-License-Identifier: MIT
# Installation: the two libraries, their headers, documents, and the files by which CMake (find_package(Tolvane)) and
# pkg-config (tolvane-systemapi, tolvane-baselib) find them. Every place is told from where the file that tells it
# stands, so that the tree may be moved. The components are those of the packages (Package.cmake).
include(CMakePackageConfigHelpers)

set(SYSTEMAPI_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Tolvane)
set(SYSTEMAPI_PKG_CONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
set(SYSTEMAPI_HEADER_DIR ${CMAKE_INSTALL_INCLUDEDIR}/Tolvane)
set(SYSTEMAPI_DOC_DIR ${CMAKE_INSTALL_DATAROOTDIR}/doc/tolvane-systemapi)

# A program without a C++ source would not get the C++ library that a static library needs.
if(NOT BUILD_SHARED_LIBS)
    target_link_libraries(Tolvane_BaseLib INTERFACE stdc++ m)
endif()

install(TARGETS Tolvane_BaseLib Tolvane_SystemApi EXPORT TolvaneTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime NAMELINK_COMPONENT Development)
install(DIRECTORY Tolvane_BaseLib/include/ Tolvane_SystemApi/include/ DESTINATION ${SYSTEMAPI_HEADER_DIR}
        COMPONENT Development)
foreach(AREA File HardWare Process System)
    install(FILES Tolvane_SystemApi/SystemApi_${AREA}/SystemApi_${AREA}.h
            DESTINATION ${SYSTEMAPI_HEADER_DIR}/SystemApi_${AREA} COMPONENT Development)
endforeach()

install(EXPORT TolvaneTargets NAMESPACE Tolvane:: DESTINATION ${SYSTEMAPI_CMAKE_DIR} COMPONENT Development)
configure_package_config_file(cmake/TolvaneConfig.cmake.in TolvaneConfig.cmake
                              INSTALL_DESTINATION ${SYSTEMAPI_CMAKE_DIR} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(TolvaneConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/TolvaneConfig.cmake ${PROJECT_BINARY_DIR}/TolvaneConfigVersion.cmake
        DESTINATION ${SYSTEMAPI_CMAKE_DIR} COMPONENT Development)

foreach(PART PREFIX FULL_LIBDIR FULL_INCLUDEDIR)
    file(RELATIVE_PATH PC_${PART} ${CMAKE_INSTALL_PREFIX}/${SYSTEMAPI_PKG_CONFIG_DIR} ${CMAKE_INSTALL_${PART}})
    string(REGEX REPLACE "/$" "" PC_${PART} ${PC_${PART}})
endforeach()
function(systemapi_pkg_config FILE PC_LIBRARY PC_DESCRIPTION PC_REQUIRES)
    configure_file(cmake/pkg-config.pc.in ${FILE} @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${FILE} DESTINATION ${SYSTEMAPI_PKG_CONFIG_DIR} COMPONENT Development)
endfunction()
systemapi_pkg_config(tolvane-baselib.pc Tolvane_BaseLib "Character sets, tables of rows, text slicing and time" "")
systemapi_pkg_config(tolvane-systemapi.pc Tolvane_SystemApi "${PROJECT_DESCRIPTION}"
                     "tolvane-baselib = ${PROJECT_VERSION}")

install(FILES README.md CHANGELOG.md LICENSE DESTINATION ${SYSTEMAPI_DOC_DIR} COMPONENT Documents)
install(DIRECTORY docs examples DESTINATION ${SYSTEMAPI_DOC_DIR} COMPONENT Documents)

# Pages and completions that the build makes stand in its folder share, laid out as below share where they go.
set(SYSTEMAPI_MADE ${PROJECT_BINARY_DIR}/share)
install(DIRECTORY ${SYSTEMAPI_MADE}/man/man1 DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT Tool OPTIONAL)
install(DIRECTORY ${SYSTEMAPI_MADE}/man/man3 ${SYSTEMAPI_MADE}/man/man7 DESTINATION ${CMAKE_INSTALL_MANDIR}
        COMPONENT Development OPTIONAL)
install(DIRECTORY ${SYSTEMAPI_MADE}/bash-completion ${SYSTEMAPI_MADE}/zsh ${SYSTEMAPI_MADE}/fish
        DESTINATION ${CMAKE_INSTALL_DATAROOTDIR} COMPONENT Tool OPTIONAL)
install(DIRECTORY ${SYSTEMAPI_MADE}/doc/html DESTINATION ${SYSTEMAPI_DOC_DIR} COMPONENT Documents OPTIONAL)
