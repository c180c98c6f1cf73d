# QV_SANITIZE: sanitizers for everything in this build, by the compiler's names ("address,undefined", "thread",
# "memory"). Included at the top level only; the library of an enclosing project is never instrumented behind its back.
set(QV_SANITIZE "" CACHE STRING "Sanitizers to build with: address,undefined | thread | memory")

if(QV_SANITIZE)
    add_compile_options(-fsanitize=${QV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${QV_SANITIZE})
    if(QV_SANITIZE MATCHES "memory")
        add_compile_options(-fsanitize-memory-track-origins)
        add_link_options(-fsanitize-memory-track-origins)
    endif()
endif()
