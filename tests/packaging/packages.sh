#!/bin/sh
# The port for vcpkg and the recipe for Conan: their version is the project's, and their steps, run by CMake and Python
# alone, give a package that a program can be built with.
#
#   packages.sh <project folder> <scratch folder> <compiler>
set -eu
root=$1
scratch=$2
compiler=$3

command -v python3 >/dev/null 2>&1 || {
    printf 'skipped: python3 is missing\n'
    exit 77
}

fail()
{
    printf 'FAILED: %s\n' "$*"
    exit 1
}

rm -rf "$scratch"
mkdir -p "$scratch"
version=$(sed -n 's/^project(Quorvane VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt")
port=$root/packaging/vcpkg/quorvane
said=$(python3 -c 'import json, sys; print(json.load(open(sys.argv[1]))["version"])' "$port/vcpkg.json")
[ "$said" = "$version" ] || fail "vcpkg.json says version $said, the project $version"
said=$(sed -n 's/^    version = "\(.*\)"/\1/p' "$root/packaging/conan/conanfile.py")
[ "$said" = "$version" ] || fail "conanfile.py says version $said, the project $version"

cmake -DPORT="$port" -DWORK="$scratch/vcpkg" -DCOMPILER="$compiler" -P "$root/tests/packaging/vcpkg_steps.cmake" ||
    fail "the port's steps"
for file in lib/libqv_kernel.a debug/lib/libqv_kerneld.a include/quorvane/kr_string.h share/quorvane/LICENSE; do
    [ -f "$scratch/vcpkg/packages/$file" ] || fail "the port does not install $file"
done
[ ! -e "$scratch/vcpkg/packages/debug/include" ] || fail 'the port leaves headers beside the debug library'
"$compiler" -std=c++17 "-I$scratch/vcpkg/packages/include/quorvane" "$root/packaging/conan/test_package/test_package.cpp" \
    "-L$scratch/vcpkg/packages/lib" -lqv_kernel -o "$scratch/program" || fail "a program with the port's library"
"$scratch/program" || fail "a program with the port's library ends with $?"
printf 'vcpkg: quorvane %s packaged and used\n' "$version"

python3 "$root/tests/packaging/conan_steps.py" "$root/packaging/conan" "$scratch/conan" "$compiler" || fail "the recipe's steps"
