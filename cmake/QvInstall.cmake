# Install rules: headers, library, CMake package, pkg-config file and licence.
# The installed tree may be moved as a whole: nothing in it holds an absolute path, the library included.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# What programs need to run is the component `runtime`; the rest is for who builds them. Without a component, as with plain
# `cmake --install`, all is installed.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)

set(QV_INSTALL_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}/quorvane")
set(QV_INSTALL_CMAKEDIR "${CMAKE_INSTALL_LIBDIR}/cmake/Quorvane")
set(QV_INSTALL_PKGCONFIGDIR "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

# Both folders of public headers become one, so that users write #include "kr_string.h".
install(DIRECTORY "${PROJECT_SOURCE_DIR}/Runtime/include/" "${PROJECT_SOURCE_DIR}/Runtime/qv_kernel/include/"
    DESTINATION "${QV_INSTALL_INCLUDEDIR}"
    FILES_MATCHING PATTERN "*.h")
target_include_directories(qv_kernel PUBLIC "$<INSTALL_INTERFACE:${QV_INSTALL_INCLUDEDIR}>")

install(TARGETS qv_kernel EXPORT QuorvaneTargets
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT development
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT runtime)
install(EXPORT QuorvaneTargets NAMESPACE Quorvane:: DESTINATION "${QV_INSTALL_CMAKEDIR}")

# While the major version is 0, each minor version may break the interface.
if(PROJECT_VERSION_MAJOR EQUAL 0)
    set(QV_COMPATIBILITY SameMinorVersion)
else()
    set(QV_COMPATIBILITY SameMajorVersion)
endif()
write_basic_package_version_file("${PROJECT_BINARY_DIR}/QuorvaneConfigVersion.cmake"
    COMPATIBILITY ${QV_COMPATIBILITY})
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/QuorvaneConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/QuorvaneConfig.cmake"
    INSTALL_DESTINATION "${QV_INSTALL_CMAKEDIR}"
    NO_SET_AND_CHECK_MACRO)
install(FILES "${PROJECT_BINARY_DIR}/QuorvaneConfig.cmake" "${PROJECT_BINARY_DIR}/QuorvaneConfigVersion.cmake"
    DESTINATION "${QV_INSTALL_CMAKEDIR}")

# The prefix in terms of the place of the .pc file itself, so that pkg-config follows a moved tree. Absolute folders
# (a distribution's choice) are taken as they are.
set(QV_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
if(NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    file(RELATIVE_PATH QV_PC_UP "/prefix/${QV_INSTALL_PKGCONFIGDIR}" "/prefix")
    string(REGEX REPLACE "/$" "" QV_PC_UP "${QV_PC_UP}")
    set(QV_PC_PREFIX "\${pcfiledir}/${QV_PC_UP}")
endif()
foreach(folder LIBDIR INCLUDEDIR)
    if(IS_ABSOLUTE "${CMAKE_INSTALL_${folder}}")
        set(QV_PC_${folder} "${CMAKE_INSTALL_${folder}}")
    else()
        set(QV_PC_${folder} "\${prefix}/${CMAKE_INSTALL_${folder}}")
    endif()
endforeach()
set(QV_PC_DEFINITIONS "")
if(NOT QV_ASSERTS)
    string(APPEND QV_PC_DEFINITIONS " -DQV_ASSERTS=0")
endif()
if(QV_MEM_TRACKING)
    string(APPEND QV_PC_DEFINITIONS " -DQV_MEM_TRACKING=1")
endif()
if(BUILD_SHARED_LIBS)
    string(APPEND QV_PC_DEFINITIONS " -DQV_SHARED=1")
endif()
# The package of CMake knows both kinds of library where both are installed; this file knows the one that came last.
set(QV_PC_POSTFIX "")
if(CMAKE_BUILD_TYPE STREQUAL "Debug")
    get_target_property(QV_PC_POSTFIX qv_kernel DEBUG_POSTFIX)
endif()
set(QV_PC_LIBRARIES "")
if(QV_ATOMIC_LIBRARY)
    set(QV_PC_LIBRARIES " -l${QV_ATOMIC_LIBRARY}")
endif()
configure_file("${PROJECT_SOURCE_DIR}/cmake/quorvane.pc.in" "${PROJECT_BINARY_DIR}/quorvane.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/quorvane.pc" DESTINATION "${QV_INSTALL_PKGCONFIGDIR}")

# What debuggers show of the types. gdb loads it by itself for the shared library, by the place of that: the installed
# folder is named in a folder of gdb's, which is right as long as the tree is not moved.
set(QV_INSTALL_DEBUGDIR "${CMAKE_INSTALL_DATADIR}/quorvane/debug")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/debug/" DESTINATION "${QV_INSTALL_DEBUGDIR}"
    FILES_MATCHING PATTERN "quorvane*")
if(BUILD_SHARED_LIBS AND NOT WIN32)
    set(QV_GDB_DIR "${CMAKE_INSTALL_DATADIR}/gdb/auto-load${CMAKE_INSTALL_FULL_LIBDIR}")
    file(RELATIVE_PATH QV_GDB_PRINTERS "/prefix/${QV_GDB_DIR}" "/prefix/${QV_INSTALL_DEBUGDIR}")
    configure_file("${PROJECT_SOURCE_DIR}/debug/auto_load.py.in" "${PROJECT_BINARY_DIR}/auto_load.py" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/auto_load.py" DESTINATION "${QV_GDB_DIR}"
        RENAME "libqv_kernel.so.${PROJECT_VERSION}-gdb.py")
endif()

install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${CMAKE_INSTALL_DATADIR}/licenses/quorvane")

include(QvPackages)
