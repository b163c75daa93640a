# SPDX-License-Identifier: MIT
# SYSTEMAPI_SANITIZE: "address,undefined" or "thread"; the presets asan and tsan set it.
set(SYSTEMAPI_SANITIZE "" CACHE STRING "Sanitizers for the whole tree, as -fsanitize takes them")

if(SYSTEMAPI_SANITIZE)
    add_compile_options(-fsanitize=${SYSTEMAPI_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${SYSTEMAPI_SANITIZE})
endif()
