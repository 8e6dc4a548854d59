#!/bin/sh
# pages_test.sh FILE.html PAGES: so many pages of A4 when it is printed. Status 77: no browser.
[ -x /usr/bin/chromium ] || { echo "skipped: no chromium; see scripts/setup --browser"; exit 77; }
folder=$(mktemp -d) || exit 1
trap 'rm -rf "$folder"' EXIT
/usr/bin/chromium --headless --no-sandbox --disable-gpu --no-pdf-header-footer \
    --user-data-dir="$folder/profile" --print-to-pdf="$folder/pages.pdf" "file://$1" 2>/dev/null
pages=$(grep -ac '/Type /Page\b' "$folder/pages.pdf")
[ "$pages" = "$2" ] || { echo "$1 has $pages pages, not $2"; exit 1; }
