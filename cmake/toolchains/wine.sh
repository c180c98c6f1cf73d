#!/bin/sh
# Runs a program for Windows: wine.sh <wine> <program> [arguments]. The folder of the Windows machine that Wine plays is
# WINEPREFIX, or one of this user's below the folder for temporary files; it is made before the first program runs.
# A program that a mistake ends is looked at by no debugger, which takes its time.
set -u
export WINEPREFIX="${WINEPREFIX:-${TMPDIR:-/tmp}/quorvane-wine-$(id -u)}"
export WINEDEBUG="${WINEDEBUG:--all}" WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml,winedbg.exe=}"
mkdir -p "$WINEPREFIX"
# Of several that start at once, one makes it.
made=$WINEPREFIX/made
if [ ! -f "$made" ]; then
    {
        flock 9
        [ -f "$made" ] || "$1" wineboot --init >/dev/null 2>&1 9>&-
        : >"$made"
    } 9>"$WINEPREFIX/making"
fi
exec "$@"
