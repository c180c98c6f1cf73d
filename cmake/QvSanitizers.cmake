# QV_SANITIZE: sanitizers for everything in this build, by the compiler's names ("address,undefined", "thread",
# "memory", "realtime"). Included at the top level only; the library of an enclosing project is never instrumented behind
# its back.
set(QV_SANITIZE "" CACHE STRING "Sanitizers to build with: address,undefined | thread | memory | realtime")

if(QV_SANITIZE)
    # Not every compiler knows each of them, and some come without their libraries: said here, not by the first file.
    include(CheckCXXSourceCompiles)
    set(CMAKE_REQUIRED_FLAGS "-fsanitize=${QV_SANITIZE}")
    string(MAKE_C_IDENTIFIER "QV_CAN_SANITIZE_${QV_SANITIZE}" known)
    check_cxx_source_compiles("int main() { return 0; }" ${known})
    unset(CMAKE_REQUIRED_FLAGS)
    if(NOT ${known})
        message(FATAL_ERROR "${CMAKE_CXX_COMPILER} does not build with -fsanitize=${QV_SANITIZE}"
            " (realtime: clang++ 20 or later with its sanitizers' libraries)")
    endif()
    add_compile_options(-fsanitize=${QV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${QV_SANITIZE})
    if(QV_SANITIZE MATCHES "memory")
        add_compile_options(-fsanitize-memory-track-origins)
        add_link_options(-fsanitize-memory-track-origins)
    endif()
endif()
