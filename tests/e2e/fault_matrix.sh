#!/usr/bin/env bash
# The fault matrix: a real install over an existing copy, run again and again under strace with
# one system call failing at its Nth use (with an error, or SIGKILL at that call), for every call
# the copy makes. After every run: the destination holds exactly the old or exactly the new
# application, the old one is never lost (it is in place, in the Trash, or in a staging folder the
# next run trashes), and a run that reports success really installed the new one.
#   fault_matrix.sh BUILD_DIR [--full]     (--full: every index; default: at most 12 per call)
set -uo pipefail
source "$(dirname "$0")/../support/e2e-lib.bash"
e2e_init "$1"
full=${2:-}
command -v strace >/dev/null || { echo "skipped: no strace"; exit 0; }
PROBE=$BUILD/test-programs/install_probe
src=$T/src/Demo.app dst=$T/apps/Demo.app
mkdir -p "$T/src" "$T/apps" "$T/old"

make_app() { # dir version
  cp -a "$BUILD/Demo/Demo.app" "$1"
  sed -i "s#<string>2.0</string>#<string>$2</string>#" "$1/Contents/Info.plist"
  mkdir -p "$1/Contents/Resources/more/deeper"
  for i in $(seq 12); do head -c $((i * 7000)) /dev/urandom >"$1/Contents/Resources/more/file$i.bin"; done
  ln -s file1.bin "$1/Contents/Resources/more/link"
  echo "$2" >"$1/Contents/Resources/more/deeper/version.txt"
}
make_app "$src" 2.0
make_app "$T/old/Demo.app" 1.0
NEW=$(digest "$src") OLD=$(digest "$T/old/Demo.app")
# When the home trash cannot be used (a failed stat), the old copy goes to the trash of its own
# file system ($topdir/.Trash-$uid): that counts as kept too.
topdir_trash="$(stat -c %m "$T")/.Trash-$(id -u)"
topdir_trash=${topdir_trash/\/\//\/}
ours_in_topdir_trash() { # the topdir-trash entries that came from this test's destination
  for info in "$topdir_trash"/info/Demo.app*.trashinfo; do
    [ -e "$info" ] && grep -q "^Path=.*${T#/}/apps/Demo.app$" "$info" && echo "$topdir_trash/files/$(basename "$info" .trashinfo)"
  done
}
reset_state() {
  for item in $(ours_in_topdir_trash); do rm -rf "$item" "$topdir_trash/info/$(basename "$item").trashinfo"; done
  rm -rf "$dst" "$T/apps"/.Demo.app.* "$XDG_DATA_HOME/Trash"
  cp -a "$T/old/Demo.app" "$dst"
}
old_is_kept() { # in place, in the Trash, or in a staging folder
  [ "$(digest "$dst")" = "$OLD" ] && return 0
  for d in "$XDG_DATA_HOME"/Trash/files/Demo.app* "$T/apps"/.Demo.app.staging-* $(ours_in_topdir_trash); do
    [ -e "$d" ] && [ "$(digest "$d")" = "$OLD" ] && return 0
  done
  return 1
}

calls=(openat read write copy_file_range mkdirat fchmod utimensat symlinkat fsync syncfs renameat2 unlinkat newfstatat)
reset_state
strace -f -qq -o "$T/clean.trace" -e trace="$(IFS=,; echo "${calls[*]}")" "$PROBE" "$src" "$dst" >/dev/null 2>&1
clean=$?
[ "$clean" -eq 0 ] && [ "$(digest "$dst")" = "$NEW" ] || { echo "FAIL - the clean run did not install"; exit 1; }

runs=0 fired=0 violations=0
for call in "${calls[@]}"; do
  count=$(grep -cE "^[0-9]+ +$call\(" "$T/clean.trace")
  [ "$count" -eq 0 ] && continue
  step=1
  [ -z "$full" ] && [ "$count" -gt 12 ] && step=$(( (count + 11) / 12 ))
  for n in $(seq 1 "$step" "$count"); do
    for fault in error=EIO error=ENOSPC signal=KILL; do
      [ "$fault" = error=ENOSPC ] && [ "$call" != write ] && [ "$call" != copy_file_range ] && [ "$call" != mkdirat ] && [ "$call" != openat ] && continue
      reset_state
      (strace -f -qq -o "$T/run.trace" -e trace="$call" -e inject="$call:$fault:when=$n" "$PROBE" "$src" "$dst" >/dev/null 2>&1) 2>/dev/null
      rc=$?
      runs=$((runs + 1))
      grep -q 'INJECTED' "$T/run.trace" && fired=$((fired + 1))
      now=$(digest "$dst")
      problem=""
      [ "$now" != "$NEW" ] && [ "$now" != "$OLD" ] && problem="the destination is neither copy"
      old_is_kept || problem="${problem:+$problem; }the old copy is lost"
      [ "$rc" -eq 0 ] && [ "$now" != "$NEW" ] && problem="${problem:+$problem; }success reported without the new copy"
      if [ -n "$problem" ]; then
        violations=$((violations + 1))
        echo "FAIL - $call:$fault:when=$n (exit $rc): $problem"
      fi
      # The next run cleans what a killed run left: it must then install over whatever is there.
      if [ "$fault" = signal=KILL ] && [ $((runs % 7)) -eq 0 ]; then
        "$PROBE" "$src" "$dst" >"$T/next.log" 2>&1
        next=$?
        if [ "$(digest "$dst")" != "$NEW" ] || ls -A "$T/apps" | grep -q staging || ! old_is_kept; then
          violations=$((violations + 1))
          echo "FAIL - the run after $call:$fault:when=$n (exit $next) left: $(ls -A "$T/apps" | tr '\n' ' ')"
          tail -3 "$T/next.log"
        fi
      fi
    done
  done
done
reset_state
echo "fault matrix: $runs runs, $fired faults fired, $violations violations"
[ "$violations" -eq 0 ] && FAILURES=0 || FAILURES=1
e2e_finish
