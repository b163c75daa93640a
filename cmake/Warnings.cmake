# SPDX-License-Identifier: MIT
# systemapi_target(TARGET): what every target of this tree is compiled with.
option(SYSTEMAPI_WERROR "Treat warnings as errors (presets and CI set it)" OFF)

function(systemapi_target TARGET)
    target_compile_options(${TARGET} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
    if(SYSTEMAPI_WERROR)
        target_compile_options(${TARGET} PRIVATE -Werror)
    endif()
    # GCC 12 sees false overlaps in "text" + std::string.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        target_compile_options(${TARGET} PRIVATE -Wno-restrict)
    endif()
    # A fused multiply-add rounds once where the interface's arithmetic rounds twice.
    target_compile_options(${TARGET} PRIVATE -ffp-contract=off)
endfunction()
