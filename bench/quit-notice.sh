#!/usr/bin/env bash
# bench/quit-notice.sh BUILD_DIR: how soon a running copy's exit is noticed.
"$1/bench/quit_notice" "$1"
