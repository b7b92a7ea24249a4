#!/usr/bin/env bash
# bench/process_table.sh <build dir> [--quick]: one look at the process table, ours against a full re-read.
set -euo pipefail
"$1/bench/process_table" "$@"
