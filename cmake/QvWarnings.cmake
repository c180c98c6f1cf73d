# Warnings for the project's own targets, always private to them, and only when the project is the top-level one: a
# subproject must not fail or chatter because of somebody else's newer compiler.
option(QV_WARNINGS_AS_ERRORS "Treat the warnings of the project's own targets as errors" OFF)
mark_as_advanced(QV_WARNINGS_AS_ERRORS)

function(qv_add_warnings target)
    if(NOT PROJECT_IS_TOP_LEVEL)
        return()
    endif()
    if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang" AND NOT MSVC)
        target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
        if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_SIZEOF_VOID_P EQUAL 4)
            # Vectors are handed over in another way where there are no registers for them. Nobody minds: those functions
            # are called within the library and its tests alone.
            target_compile_options(${target} PRIVATE -Wno-psabi)
        endif()
        if(QV_WARNINGS_AS_ERRORS)
            target_compile_options(${target} PRIVATE -Werror)
        endif()
    elseif(MSVC)
        target_compile_options(${target} PRIVATE /W4)
        if(QV_WARNINGS_AS_ERRORS)
            target_compile_options(${target} PRIVATE /WX)
        endif()
    endif()
endfunction()

# A global that needs code at start-up or at exit is an error: strings must work in constructors and destructors of
# static objects of any other file. Only clang can tell.
function(qv_forbid_dynamic_initialisers target)
    if(PROJECT_IS_TOP_LEVEL AND CMAKE_CXX_COMPILER_ID MATCHES "Clang" AND NOT MSVC)
        target_compile_options(${target} PRIVATE -Werror=global-constructors -Werror=exit-time-destructors)
    endif()
endfunction()
