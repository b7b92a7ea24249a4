#!/usr/bin/env bash
# Real file-system faults under a real copy: a full file system, a read-only one, a source that
# vanishes while it is copied, an immutable old copy, a destination path over PATH_MAX, names with
# newlines and bytes that are not UTF-8. Each time the destination holds exactly the old or the new
# application, the old one is never lost, a failure is never reported as success, and no staging
# folder stays behind.
set -uo pipefail
source "$(dirname "$0")/../support/e2e-lib.bash"
e2e_init "$1"
PROBE=$BUILD/test-programs/install_probe
new_app() { # dir megabytes
  cp -a "$BUILD/Demo/Demo.app" "$1"
  head -c $(( $2 * 1024 * 1024 )) /dev/urandom >"$1/Contents/Resources/payload.bin"
}
verdict() { # what rc dst old new
  local what=$1 rc=$2 dst=$3 old=$4 new=$5 now; now=$(digest "$dst")
  check "$what: exactly the old or the new copy" test "$now" = "$old" -o "$now" = "$new"
  check "$what: success only with the new copy" test "$rc" -ne 0 -o "$now" = "$new"
  check "$what: the old copy is kept" bash -c "[ '$now' = '$old' ] || ls '$XDG_DATA_HOME'/Trash/files/ 2>/dev/null | grep -q Demo.app"
  check "$what: no staging folder left" bash -c "! ls -A '$(dirname "$dst")' | grep -q staging"
}
as_root() { [ "$(id -u)" -eq 0 ]; }

new_app "$T/new.app" 3
NEW=$(digest "$T/new.app")

if as_root; then
  echo "# a full file system"
  mkdir -p "$T/full"; mount -t tmpfs -o size=2m none "$T/full"
  new_app "$T/full/Demo.app" 0; OLD=$(digest "$T/full/Demo.app")
  "$PROBE" "$T/new.app" "$T/full/Demo.app" >"$T/out" 2>&1; rc=$?
  check "full: reported as a failed copy (2)" test "$rc" -eq 2
  check "full: the log says why" grep -q 'No space left on device' "$T/out"
  verdict full "$rc" "$T/full/Demo.app" "$OLD" "$NEW"
  umount "$T/full"

  echo "# a read-only file system"
  mkdir -p "$T/ro"; mount -t tmpfs -o size=16m none "$T/ro"
  new_app "$T/ro/Demo.app" 0; OLD=$(digest "$T/ro/Demo.app")
  mount -o remount,ro "$T/ro"
  "$PROBE" "$T/new.app" "$T/ro/Demo.app" >"$T/out" 2>&1; rc=$?
  check "read-only: reported as a failed copy (2)" test "$rc" -eq 2
  verdict read-only "$rc" "$T/ro/Demo.app" "$OLD" "$NEW"
  umount "$T/ro"

  echo "# an immutable old copy"
  mkdir -p "$T/imm"; new_app "$T/imm/Demo.app" 0; OLD=$(digest "$T/imm/Demo.app")
  if chattr +i "$T/imm/Demo.app" 2>/dev/null; then
    "$PROBE" "$T/new.app" "$T/imm/Demo.app" >"$T/out" 2>&1; rc=$?
    check "immutable: not reported as success" test "$rc" -ne 0
    chattr -i "$T/imm/Demo.app"
    verdict immutable "$rc" "$T/imm/Demo.app" "$OLD" "$NEW"
  else
    echo "skipped: this file system has no immutable flag"
  fi
fi

echo "# a source that vanishes while it is copied"
mkdir -p "$T/van"; new_app "$T/van/Demo.app" 0; OLD=$(digest "$T/van/Demo.app")
cp -a "$T/new.app" "$T/vanishing.app"
for i in $(seq 40); do echo "$i" >"$T/vanishing.app/Contents/Resources/f$i"; done
(strace -f -qq -o /dev/null -e inject=openat:delay_enter=20000 "$PROBE" "$T/vanishing.app" "$T/van/Demo.app" >"$T/out" 2>&1) & run=$!
sleep 0.4; rm -rf "$T/vanishing.app"; wait "$run"; rc=$?
check "vanishing source: reported as a failed copy" test "$rc" -eq 2
verdict vanishing "$rc" "$T/van/Demo.app" "$OLD" "$(digest /nonexistent)"

echo "# a destination path over PATH_MAX"
long=$T/$(printf 'd%.0s' $(seq 200))
deep=$long; for _ in $(seq 22); do deep=$deep/$(printf 'e%.0s' $(seq 200)); done
"$PROBE" "$T/new.app" "$deep/Demo.app" >"$T/out" 2>&1; rc=$?
check "PATH_MAX: reported as a failed copy (2)" test "$rc" -eq 2
check "PATH_MAX: the log names the destination" grep -q 'ERROR -- Could not copy myself to' "$T/out"

echo "# names with a newline and bytes that are not UTF-8"
cp -a "$T/new.app" "$T/odd.app"
touch "$T/odd.app/Contents/Resources/line
break" "$T/odd.app/Contents/Resources/$(printf 'caf\xe9')"
mkdir -p "$T/oddapps"
"$PROBE" "$T/odd.app" "$T/oddapps/Demo.app" >"$T/out" 2>&1; rc=$?
check "odd names: copied" test "$rc" -eq 0
check "odd names: byte-exact" test "$(digest "$T/odd.app")" = "$(digest "$T/oddapps/Demo.app")"
e2e_finish
