# QV_SANITIZE: sanitizers for everything in this build, by the compiler's names ("address,undefined", "thread",
# "memory", "realtime"). Included at the top level only; the library of an enclosing project is never instrumented behind
# its back.
set(QV_SANITIZE "" CACHE STRING "Sanitizers to build with: address,undefined | thread | memory | realtime")
# Those that take for a mistake what the standard library does on purpose, as clang's "integer" does. What is compiled
# with them is the library and the drivers, but for those that use much of the standard library's arithmetic.
set(QV_SANITIZE_OWN "" CACHE STRING "Sanitizers for the library and the drivers alone: integer,implicit-conversion")

if(QV_SANITIZE)
    # Not every compiler knows each of them, and some come without their libraries: said here, not by the first file.
    include(CheckCXXSourceCompiles)
    string(JOIN "," asked ${QV_SANITIZE} ${QV_SANITIZE_OWN})
    set(CMAKE_REQUIRED_FLAGS "-fsanitize=${asked}")
    string(MAKE_C_IDENTIFIER "QV_CAN_SANITIZE_${asked}" known)
    check_cxx_source_compiles("int main() { return 0; }" ${known})
    unset(CMAKE_REQUIRED_FLAGS)
    if(NOT ${known})
        message(FATAL_ERROR "${CMAKE_CXX_COMPILER} does not build with -fsanitize=${asked}"
            " (realtime: clang++ 20 or later with its sanitizers' libraries)")
    endif()
    add_compile_options(-fsanitize=${QV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${QV_SANITIZE})
    if(QV_SANITIZE MATCHES "memory")
        add_compile_options(-fsanitize-memory-track-origins)
        add_link_options(-fsanitize-memory-track-origins)
    endif()
elseif(QV_SANITIZE_OWN)
    message(FATAL_ERROR "QV_SANITIZE_OWN comes with QV_SANITIZE, whose library it is linked with")
endif()

# Compiles a target with what QV_SANITIZE_OWN names.
function(qv_sanitize_own target)
    if(QV_SANITIZE_OWN)
        target_compile_options(${target} PRIVATE -fsanitize=${QV_SANITIZE_OWN} -fno-sanitize-recover=all)
    endif()
endfunction()
