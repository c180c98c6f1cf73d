# What example_${name} has besides the library: the version that it prints, and libedit for the prompt's line editing, where
# that is installed with its headers. pkg-config only hints at the place; the prompt reads plain lines where nothing is found.
target_compile_definitions(example_${name} PRIVATE "ASSET_FINDER_VERSION=\"${PROJECT_VERSION}\"")

find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
    pkg_check_modules(QV_PC_LIBEDIT QUIET libedit)
endif()
find_path(QV_LIBEDIT_INCLUDE_DIR editline/readline.h HINTS ${QV_PC_LIBEDIT_INCLUDEDIR})
find_library(QV_LIBEDIT_LIBRARY edit HINTS ${QV_PC_LIBEDIT_LIBDIR})
mark_as_advanced(QV_LIBEDIT_INCLUDE_DIR QV_LIBEDIT_LIBRARY)

if(QV_LIBEDIT_INCLUDE_DIR AND QV_LIBEDIT_LIBRARY)
    target_include_directories(example_${name} SYSTEM PRIVATE "${QV_LIBEDIT_INCLUDE_DIR}")
    target_link_libraries(example_${name} PRIVATE "${QV_LIBEDIT_LIBRARY}")
    target_compile_definitions(example_${name} PRIVATE ASSET_FINDER_LIBEDIT=1)
endif()
