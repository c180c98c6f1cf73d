#!/bin/sh
# Runs a program for Windows: wine.sh <wine> <program> [arguments]. The folder of the Windows machine that Wine plays is
# WINEPREFIX, or one of this user's below the folder for temporary files; it is made by the first program that runs.
# A program that a mistake ends is looked at by no debugger, which takes its time.
set -u
export WINEPREFIX="${WINEPREFIX:-${TMPDIR:-/tmp}/quorvane-wine-$(id -u)}"
export WINEDEBUG="${WINEDEBUG:--all}" WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml,winedbg.exe=}"
mkdir -p "$WINEPREFIX"
exec "$@"
