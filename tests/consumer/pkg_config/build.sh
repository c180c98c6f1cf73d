#!/bin/sh
# Uses the installed library through pkg-config and nothing else: from every supported standard, and from a program
# without exceptions and run-time types.
#
#   build.sh <compiler> <folder for the programs>      PKG_CONFIG_PATH names the folder of quorvane.pc
set -eu
compiler=$1
output=$2
source=$(dirname "$0")/../main.cpp

pkg-config --atleast-version=0.1 quorvane
cflags=$(pkg-config --cflags quorvane)
libs=$(pkg-config --libs quorvane)

# use <name> <flags...>
use()
{
    name=$1
    shift
    # The flags are words.
    # shellcheck disable=SC2086
    "$compiler" "$@" $cflags "$source" $libs -o "$output/consumer_$name"
}

use cxx17 -std=c++17
use cxx20 -std=c++20
use cxx23 -std=c++2b
use bare -std=c++17 -fno-exceptions -fno-rtti
