#!/bin/sh
# wine.sh - run a Windows program with a wine prefix of its build tree: wine.sh build/mingw/bin/x.exe [argument...]
#
# A server that wine starts by itself inherits the pipes of whoever reads the program's output, who then waits for ever.
# So the server and the services of a session are started detached; the server ends five minutes after its last client.
export LC_ALL=C.UTF-8 WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml,winemenubuilder.exe='
export WINEPREFIX="${WINEPREFIX:-$(cd "$(dirname "$1")/.." && pwd)/wine}"
mkdir -p "$WINEPREFIX"
if wineserver -p300 </dev/null >/dev/null 2>&1; then
    wine cmd /c exit </dev/null >/dev/null 2>&1
fi
exec wine "$@"
