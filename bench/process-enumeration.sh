#!/usr/bin/env bash
# bench/process-enumeration.sh BUILD_DIR [--quick]: allProcesses against ps, 500 idle processes.
n=500; [ "${2:-}" = "--quick" ] && n=50
"$1/bench/process_enumeration" "$n" 11
