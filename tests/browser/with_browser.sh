#!/bin/sh
# Runs panel_test.mjs: with_browser.sh K4SIM PROGRAM FOLDER-OF-PLAYWRIGHT WORK-FOLDER [TEST]
# Status 77, skipped: there is no browser here; scripts/setup --browser brings it.
if ! command -v node >/dev/null || [ ! -x /usr/bin/chromium ] ||
    [ ! -d "$3/node_modules/playwright-core" ]; then
    echo "skipped: no node, chromium or playwright-core; see scripts/setup --browser"
    exit 77
fi
exec node "$(dirname "$0")/panel_test.mjs" "$@"
