# SPDX-License-Identifier: MIT
# SYSTEMAPI_SANITIZE: "address,undefined" or "thread"; the presets asan and tsan, and clang-asan and clang-tsan, set it.
set(SYSTEMAPI_SANITIZE "" CACHE STRING "Sanitizers for the whole tree, as -fsanitize takes them")

if(SYSTEMAPI_SANITIZE)
    add_compile_options(-fsanitize=${SYSTEMAPI_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${SYSTEMAPI_SANITIZE})
    # What GCC tells of itself, and Clang only when asked in another way.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        if(SYSTEMAPI_SANITIZE MATCHES "address")
            add_compile_definitions(__SANITIZE_ADDRESS__)
            # A C program that loads C++ libraries needs all of their sanitizers' routines.
            add_link_options(-fsanitize-link-c++-runtime)
            link_libraries(stdc++)
        elseif(SYSTEMAPI_SANITIZE MATCHES "thread")
            add_compile_definitions(__SANITIZE_THREAD__)
        endif()
    endif()
endif()
