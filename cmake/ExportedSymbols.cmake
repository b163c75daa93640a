# SPDX-License-Identifier: MIT
# systemapi_exported_symbols(TARGET MAP): the target exports what the version script names and nothing else.
# Neither -Bsymbolic nor protected visibility: a program that reads the globals holds copies of them, and
# the library must use those copies. A static library has no exports.
function(systemapi_exported_symbols TARGET MAP)
    if(NOT BUILD_SHARED_LIBS)
        return()
    endif()
    target_link_options(${TARGET} PRIVATE "LINKER:--version-script=${CMAKE_CURRENT_SOURCE_DIR}/${MAP}")
    if(NOT SYSTEMAPI_SANITIZE)
        target_link_options(${TARGET} PRIVATE "LINKER:--no-undefined")
    endif()
    set_target_properties(${TARGET} PROPERTIES LINK_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/${MAP}")
endfunction()
