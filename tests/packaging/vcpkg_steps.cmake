# Runs the port as vcpkg would: the functions below do what those of its helper ports do, as far as the port needs them.
#
#   cmake -DPORT=<folder of the port> -DWORK=<scratch folder> -DCOMPILER=<compiler> -P vcpkg_steps.cmake
#
# What is installed is in <scratch folder>/packages.
set(CURRENT_PACKAGES_DIR "${WORK}/packages")

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN}: ${output}")
    endif()
endfunction()

# Not optimised and without vector code, which takes less time.
function(vcpkg_cmake_configure)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "SOURCE_PATH" "OPTIONS")
    foreach(kind Release Debug)
        run("${CMAKE_COMMAND}" -G Ninja -S "${arg_SOURCE_PATH}" -B "${WORK}/${kind}" "-DCMAKE_CXX_COMPILER=${COMPILER}"
            -DCMAKE_BUILD_TYPE=${kind} -DCMAKE_UNITY_BUILD=ON "-DCMAKE_CXX_FLAGS_RELEASE=-O0 -DNDEBUG" -DQV_SIMD_LEVEL=0
            ${arg_OPTIONS})
    endforeach()
endfunction()

function(vcpkg_cmake_install)
    foreach(pair "Debug,${CURRENT_PACKAGES_DIR}/debug" "Release,${CURRENT_PACKAGES_DIR}")
        string(REPLACE "," ";" pair "${pair}")
        list(GET pair 0 kind)
        list(GET pair 1 prefix)
        run("${CMAKE_COMMAND}" --build "${WORK}/${kind}")
        run("${CMAKE_COMMAND}" --install "${WORK}/${kind}" --prefix "${prefix}")
    endforeach()
endfunction()

# The package's files are where the port says; those of the debug library come to those of the other one.
function(vcpkg_cmake_config_fixup)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "PACKAGE_NAME;CONFIG_PATH" "")
    set(from "${CURRENT_PACKAGES_DIR}/${arg_CONFIG_PATH}")
    if(NOT EXISTS "${from}/${arg_PACKAGE_NAME}Config.cmake")
        message(FATAL_ERROR "no ${arg_PACKAGE_NAME}Config.cmake in ${from}")
    endif()
    foreach(prefix "${CURRENT_PACKAGES_DIR}" "${CURRENT_PACKAGES_DIR}/debug")
        file(GLOB targets "${prefix}/${arg_CONFIG_PATH}/*Targets-*.cmake")
        if(NOT targets)
            message(FATAL_ERROR "no targets in ${prefix}/${arg_CONFIG_PATH}")
        endif()
    endforeach()
endfunction()

function(vcpkg_fixup_pkgconfig)
    if(NOT EXISTS "${CURRENT_PACKAGES_DIR}/lib/pkgconfig/quorvane.pc")
        message(FATAL_ERROR "no quorvane.pc")
    endif()
endfunction()

function(vcpkg_install_copyright)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "" "FILE_LIST")
    file(COPY ${arg_FILE_LIST} DESTINATION "${CURRENT_PACKAGES_DIR}/share/quorvane")
endfunction()

include("${PORT}/portfile.cmake")
