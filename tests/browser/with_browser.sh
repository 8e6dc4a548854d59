#!/bin/sh
# with_browser.sh TESTS K4SIM PROGRAM FOLDER-OF-PLAYWRIGHT WORK-FOLDER [WORD]: runs TESTS, of this
# folder, or those whose name contains the word.
# Status 77, skipped: there is no browser here; scripts/setup --browser brings it.
if ! command -v node >/dev/null || [ ! -x /usr/bin/chromium ] ||
    [ ! -d "$4/node_modules/playwright-core" ]; then
    echo "skipped: no node, chromium or playwright-core; see scripts/setup --browser"
    exit 77
fi
tests=$1
shift
exec node "$(dirname "$0")/$tests" "$@"
