#!/bin/sh
# Installs the library as a packager would and uses it as its users would: through find_package, through pkg-config, and
# as a subproject. The library is C++17; each way of using it is tried from C++17, 20 and 23.
#
#   run.sh <project folder> <scratch folder> <compiler>
set -eu
root=$1
scratch=$2
compiler=$3

consumers=$root/tests/consumer
log=$scratch/log
rm -rf "$scratch"
mkdir -p "$scratch"

fail()
{
    printf 'FAILED: %s\n' "$*"
    exit 1
}

# Runs a command quietly; shows what it said when it fails.
quietly()
{
    "$@" >"$log" 2>&1 || {
        cat "$log"
        fail "$*"
    }
}

# With the sources of a service joined, which takes less time to compile, and by the compiler itself: a launcher that the
# environment asks for may write paths in another way, which reports would show.
configure()
{
    quietly cmake -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_COMPILER_LAUNCHER= -DCMAKE_UNITY_BUILD=ON "$@"
}

# Runs the consumers in a folder.
#   run_consumers <folder> <expected QV_ASSERTS> <expected number>
run_consumers()
{
    count=0
    for program in "$1"/consumer_*; do
        [ -x "$program" ] || fail "$1 has no consumers"
        output=$("$program") || fail "$program answers $?: $output"
        case $output in
            "ab/c, C++ 20"[0-9][0-9]??", QV_ASSERTS $2") ;;
            *) fail "$program prints: $output" ;;
        esac
        printf '%s: %s\n' "${program#"$scratch"/}" "$output"
        count=$((count + 1))
    done
    [ $count -eq "$3" ] || fail "$1 has $count consumers, expected $3"
}

# Builds the library, with everything else off and no test tool to be found.
#   build_library <name> <project folder> <further options...>
build_library()
{
    name=$1
    source=$2
    shift 2
    configure -S "$source" -B "$scratch/build-$name" -DQV_BUILD_TESTS=OFF -DQV_BUILD_EXAMPLES=OFF \
        -DQV_BUILD_BENCHMARKS=OFF -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON -DCMAKE_DISABLE_FIND_PACKAGE_CLI11=ON \
        -DCMAKE_DISABLE_FIND_PACKAGE_benchmark=ON -DCMAKE_DISABLE_FIND_PACKAGE_Threads=ON "$@"
    quietly cmake --build "$scratch/build-$name"
}

# Builds and installs the library, then moves the result.
#   install_library <name> <further options...>
install_library()
{
    name=$1
    shift
    build_library "$name" "$root" "$@"
    quietly cmake --install "$scratch/build-$name" --prefix "$scratch/first-$name"
    mkdir -p "$scratch/moved"
    mv "$scratch/first-$name" "$scratch/moved/$name"
    if grep -r -l -F -e "$scratch/first-$name" -e "$root/" "$scratch/moved/$name" >"$log"; then
        fail "installed files hold absolute paths: $(cat "$log")"
    fi
}

# Uses an installed library both ways.
#   use_installed <name> <expected QV_ASSERTS> <further options of the CMake consumers...>
use_installed()
{
    prefix=$scratch/moved/$1
    name=$1
    asserts=$2
    shift 2
    configure -S "$consumers/find_package" -B "$scratch/find_package-$name" -DCMAKE_PREFIX_PATH="$prefix" "$@"
    quietly cmake --build "$scratch/find_package-$name"
    run_consumers "$scratch/find_package-$name" "$asserts" 3

    if command -v pkg-config >/dev/null 2>&1; then
        pc=$(find "$prefix" -name quorvane.pc)
        library=$(dirname "$(dirname "$pc")")
        mkdir -p "$scratch/pkg_config-$name"
        quietly env PKG_CONFIG_PATH="$(dirname "$pc")" \
            sh "$consumers/pkg_config/build.sh" "$compiler" "$scratch/pkg_config-$name"
        (
            export LD_LIBRARY_PATH="$library"
            run_consumers "$scratch/pkg_config-$name" "$asserts" 4
        )
    else
        printf 'skipped: pkg-config is missing\n'
    fi
}

# The static library with the defaults, but for the cache of small blocks and the vector code, which are its own business.
# Not optimised: what the compiler makes of it is for other tests.
install_library static -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE='-O0 -DNDEBUG' -DQV_MEM_CACHE=OFF \
    -DQV_SIMD_LEVEL=0
[ -f "$(find "$scratch/moved/static" -name libqv_kernel.a)" ] || fail 'no libqv_kernel.a is installed'
for file in include/quorvane/kr_string.h include/quorvane/kr_internal/kr_string_inline.h \
    include/quorvane/qv_internal/qv_namespace.h share/licenses/quorvane/LICENSE share/quorvane/debug/quorvane_gdb.py \
    share/quorvane/debug/quorvane_layout.py share/quorvane/debug/quorvane_lldb.py share/quorvane/debug/quorvane.natvis; do
    [ -f "$scratch/moved/static/$file" ] || fail "$file is not installed"
done
use_installed static 1

# The same bytes from another folder, by the sources that are needed and no others.
mkdir "$scratch/copy"
cp -R "$root/CMakeLists.txt" "$root/LICENSE" "$root/Runtime" "$root/cmake" "$root/debug" "$scratch/copy"
build_library copy "$scratch/copy" -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE='-O0 -DNDEBUG' -DQV_MEM_CACHE=OFF \
    -DQV_SIMD_LEVEL=0
cmp "$scratch/build-copy/Runtime/qv_kernel/libqv_kernel.a" "$scratch/build-static/Runtime/qv_kernel/libqv_kernel.a" ||
    fail 'two builds in two folders differ'

# A debug library beside it: each kind of program finds its own.
build_library debug "$root" -DCMAKE_BUILD_TYPE=Debug -DQV_SIMD_LEVEL=0
quietly cmake --install "$scratch/build-debug" --prefix "$scratch/moved/static"
for kind in Release,libqv_kernel.a Debug,libqv_kerneld.a; do
    configure -S "$consumers/find_package" -B "$scratch/find_package-both" -DCMAKE_PREFIX_PATH="$scratch/moved/static" \
        -DCMAKE_BUILD_TYPE="${kind%,*}"
    quietly cmake --build "$scratch/find_package-both" --target consumer_cxx17 -v
    grep -q -F "/${kind#*,}" "$log" || fail "a program of type ${kind%,*} is not linked to ${kind#*,}"
done

# A component that there is not is refused by name, the one that there is found.
for component in qv_kernel strings; do
    code=0
    cmake -G Ninja -S "$consumers/find_package" -B "$scratch/component-$component" \
        -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_PREFIX_PATH="$scratch/moved/static" \
        -DCONSUMER_COMPONENTS=$component >"$log" 2>&1 || code=$?
    case $component,$code,$(tr '\n' ' ' <"$log") in
        qv_kernel,0,*) ;;
        strings,1,*'no component "strings", only'*) ;;
        *) cat "$log" && fail "find_package with COMPONENTS $component" ;;
    esac
done

# A shared library without assertions and with the tracking allocator: the definitions must reach users both ways. Of no
# build type, as all that follow: it takes less time to compile. It shows what it should, also to a program whose own
# symbols are hidden, and which derives from a class of the library's.
install_library shared -DBUILD_SHARED_LIBS=ON -DQV_ASSERTS=OFF -DQV_MEM_TRACKING=ON -DQV_SIMD_LEVEL=0
[ -n "$(find "$scratch/moved/shared" -name 'libqv_kernel.so.*')" ] || fail 'no shared library is installed'
sh "$consumers/symbols.sh" "$root" "$(find "$scratch/moved/shared" -name 'libqv_kernel.so')" || [ $? -eq 77 ] ||
    fail 'what the shared library shows'
use_installed shared 0 -DCMAKE_CXX_VISIBILITY_PRESET=hidden -DCMAKE_VISIBILITY_INLINES_HIDDEN=ON

# gdb finds the printers of an installed shared library by itself, and they need none of its debug information.
prefix=$scratch/debugged
quietly cmake -DCMAKE_INSTALL_PREFIX="$prefix" "$scratch/build-shared"
quietly cmake --install "$scratch/build-shared"
quietly "$compiler" -std=c++17 -g -O2 -DQV_SHARED=1 -DQV_ASSERTS=0 -DQV_MEM_TRACKING=1 -I"$prefix/include/quorvane" \
    "$root/tests/debug/shown.cpp" -L"$prefix/lib" -lqv_kernel -Wl,-rpath,"$prefix/lib" -o "$scratch/shown"
sh "$root/tests/debug/printers.sh" "$root" gdb "$scratch/shown" "$prefix" || [ $? -eq 77 ] || fail 'what gdb shows'

# The sources as a subproject; with FetchContent it is enough to see that it configures alike.
configure -S "$consumers/add_subdirectory" -B "$scratch/add_subdirectory" -DQUORVANE_SOURCE_DIR="$root"
quietly cmake --build "$scratch/add_subdirectory"
run_consumers "$scratch/add_subdirectory" 1 3
configure -S "$consumers/add_subdirectory" -B "$scratch/fetch_content" -DQUORVANE_SOURCE_DIR="$root" \
    -DUSE_FETCH_CONTENT=ON

printf 'all consumers work\n'
