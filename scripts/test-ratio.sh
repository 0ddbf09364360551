#!/usr/bin/env bash
# Prints the non-blank lines of the tests (tests/, without tests/data) against
# those of the product (src/, unace/, cli/, include/) and fails when the tests
# pass LIMIT percent of the product (default 35).
set -euo pipefail
cd "$(dirname "$0")/.."
limit=${1:-35}
count() { git ls-files -co --exclude-standard -- "$@" | xargs -r cat | grep -cv '^[[:space:]]*$' || true; }
tests=$(count tests ':!tests/data')
product=$(count src unace cli include)
percent=$((100 * tests / product))
echo "tests: $tests lines, product: $product lines, $percent % (limit $limit %)"
[ $((100 * tests)) -le $((limit * product)) ]
