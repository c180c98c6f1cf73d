# Packages by `cpack` in a build folder: .tar.gz of all that is installed; .deb where Debian's tools are, of the runtime
# library, of what programs are built with, and, of a build with -g, of the debug symbols.
#
#     cmake -B build/package -DCMAKE_INSTALL_PREFIX=/usr -DBUILD_SHARED_LIBS=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo
#     cmake --build build/package && (cd build/package && cpack)
#
# Only a shared library has a runtime package; with a static one, all is in the package for building.
if(NOT PROJECT_IS_TOP_LEVEL)
    return()
endif()

set(CPACK_PACKAGE_VENDOR "The Quorvane authors")
set(CPACK_PACKAGE_CONTACT "The Quorvane authors <maintainers@quorvane.invalid>" CACHE STRING
    "Who answers for the packages that cpack makes, as name <address>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_STRIP_FILES OFF)
set(CPACK_GENERATOR TGZ)

find_program(QV_DPKG_SHLIBDEPS dpkg-shlibdeps)
mark_as_advanced(QV_DPKG_SHLIBDEPS)
if(QV_DPKG_SHLIBDEPS AND CMAKE_SYSTEM_NAME STREQUAL "Linux")
    list(APPEND CPACK_GENERATOR DEB)
    set(CPACK_DEB_COMPONENT_INSTALL ON)
    set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
    set(CPACK_DEBIAN_PACKAGE_SECTION libs)
    set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
    set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libqv-kernel-dev)
    set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
        "Text for real-time kernels (development files)\nHeaders, the library to link to, its CMake package and pkg-config file,\nand printers for debuggers.")
    if(BUILD_SHARED_LIBS)
        # Named after what programs are linked to.
        set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME "libqv-kernel${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}")
        set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
            "Text for real-time kernels (shared library)\nShared, copy-on-write strings, views on text, and the kernel services\nbelow them.")
        set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
        # Debian has a trigger for ldconfig, and a list of what needs which library.
        set(control "${PROJECT_BINARY_DIR}/packages/control")
        file(WRITE "${control}/triggers" "activate-noawait ldconfig\n")
        file(WRITE "${control}/shlibs" "libqv_kernel ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR} "
            "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (= ${PROJECT_VERSION})\n")
        set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${control}/triggers;${control}/shlibs")
        set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
            "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (= ${PROJECT_VERSION})")
        if(CMAKE_BUILD_TYPE MATCHES "^(Debug|RelWithDebInfo)$")
            set(CPACK_DEBIAN_RUNTIME_DEBUGINFO_PACKAGE ON)
        endif()
        set(QV_PACKAGES runtime development)
    else()
        set(QV_PACKAGES development)
    endif()
    set(CPACK_COMPONENTS_ALL ${QV_PACKAGES})

    # What Debian wants of each package: who may copy it, and what has changed.
    find_program(QV_GZIP gzip)
    mark_as_advanced(QV_GZIP)
    foreach(component IN LISTS QV_PACKAGES)
        string(TOUPPER ${component} upper)
        set(package "${CPACK_DEBIAN_${upper}_PACKAGE_NAME}")
        set(folder "${PROJECT_BINARY_DIR}/packages/${package}")
        file(READ "${PROJECT_SOURCE_DIR}/LICENSE" licence)
        file(WRITE "${folder}/copyright" "Quorvane, by the Quorvane authors.\n\n${licence}")
        # A tree of no more than what the library is built from has none.
        if(EXISTS "${PROJECT_SOURCE_DIR}/CHANGELOG.md")
            file(COPY "${PROJECT_SOURCE_DIR}/CHANGELOG.md" DESTINATION "${folder}")
        endif()
        if(QV_GZIP)
            # SOURCE_DATE_EPOCH, where it is set, is the time.
            string(TIMESTAMP time "%a, %d %b %Y %H:%M:%S +0000" UTC)
            file(WRITE "${folder}/changelog" "libqv-kernel (${PROJECT_VERSION}) unstable; urgency=medium\n\n"
                "  * What has changed is in CHANGELOG.md.\n\n -- ${CPACK_PACKAGE_CONTACT}  ${time}\n")
            execute_process(COMMAND "${QV_GZIP}" -9nf "${folder}/changelog")
        endif()
        install(DIRECTORY "${folder}/" DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${package}" COMPONENT ${component}
            EXCLUDE_FROM_ALL)
    endforeach()
endif()
include(CPack)
