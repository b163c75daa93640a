# SPDX-License-Identifier: MIT
# SYSTEMAPI_HARDEN: the whole tree checks itself at run time, for the C library's copies, the standard library's
# preconditions, and stacks and jumps that were overwritten.
option(SYSTEMAPI_HARDEN "Compile with the run-time checks of compiler and libraries" OFF)

if(SYSTEMAPI_HARDEN)
    include(CheckCXXCompilerFlag)
    add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3 -D_GLIBCXX_ASSERTIONS -fstack-protector-strong)
    # GCC 12 sees false overruns where it moves a std::wstring.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        add_compile_options(-Wno-attribute-warning)
    endif()
    check_cxx_compiler_flag(-fcf-protection=full SYSTEMAPI_HAS_CF_PROTECTION) # of the processor's kind
    if(SYSTEMAPI_HAS_CF_PROTECTION)
        add_compile_options(-fcf-protection=full)
    endif()
endif()
