# Installation: the two libraries, their headers, the tool, and the files by which CMake
# (find_package(TolvaneSystemApi)) and pkg-config (tolvane-systemapi) find them.
include(CMakePackageConfigHelpers)

set(SYSTEMAPI_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/TolvaneSystemApi)
set(SYSTEMAPI_HEADER_DIR ${CMAKE_INSTALL_INCLUDEDIR}/Tolvane)

install(TARGETS Tolvane_BaseLib Tolvane_SystemApi EXPORT TolvaneSystemApiTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY Tolvane_BaseLib/include/ Tolvane_SystemApi/include/ DESTINATION ${SYSTEMAPI_HEADER_DIR})
foreach(AREA File HardWare Process System)
    install(FILES Tolvane_SystemApi/SystemApi_${AREA}/SystemApi_${AREA}.h
            DESTINATION ${SYSTEMAPI_HEADER_DIR}/SystemApi_${AREA})
endforeach()

install(EXPORT TolvaneSystemApiTargets NAMESPACE Tolvane:: DESTINATION ${SYSTEMAPI_CMAKE_DIR})
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/TolvaneSystemApiConfig.cmake
     "include(\"\${CMAKE_CURRENT_LIST_DIR}/TolvaneSystemApiTargets.cmake\")\n")
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/TolvaneSystemApiConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/TolvaneSystemApiConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/TolvaneSystemApiConfigVersion.cmake
        DESTINATION ${SYSTEMAPI_CMAKE_DIR})

file(RELATIVE_PATH SYSTEMAPI_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/tolvane-systemapi.pc.in tolvane-systemapi.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tolvane-systemapi.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
