#!/usr/bin/env bash
# End to end: the real installer window under Xvfb with openbox, driven with xdotool, on a
# sandbox home. Scenarios: an older copy running from its installed place is quit, trashed,
# replaced and relaunched, and the installer quits by itself about 2 s after the result; a copy
# that ignores the polite request is forced; a copy that keeps coming back blocks the install
# with the refusal message, and Install works again once it is gone.
set -uo pipefail
source "$(dirname "$0")/../support/e2e-lib.bash"
e2e_init "$1"
e2e_display
e2e_sound
pactl load-module module-null-sink sink_name=events sink_properties=device.intended_roles=event >/dev/null
SUPPORT=$(cd "$(dirname "$0")/../support" && pwd)

install_old_copy() { # version
  rm -rf "$HOME/Applications/Demo.app"
  cp -a "$BUILD/Demo/Demo.app" "$HOME/Applications/Demo.app"
  sed -i "s#<string>2.0</string>#<string>$1</string>#" "$HOME/Applications/Demo.app/Contents/Info.plist"
}
start_installer() { # extra arguments...
  : >"$LOG"
  "$INSTALLER" -productName Demo -sourcePath "$BUILD/Demo/Demo.app" -productCode DEMO "$@" >/dev/null 2>&1 &
  INSTALLER_PID=$!
  WIN=$(e2e_window_of "$INSTALLER_PID")
  sleep 0.3
}
old=$HOME/Applications/Demo.app

echo "# 1. a running older copy is quit, replaced and relaunched; the installer quits by itself"
install_old_copy 1.0
"$old/Contents/Linux/Demo" >/dev/null 2>&1 & oldpid=$!
sleep 0.7
e2e_record events
start_installer -completionQuit 2 -completionSound YES
check "the window shows the running copy's place as the destination" grep -qE "destinationPath = \"?$old\"?;" "$LOG"
e2e_key "$WIN" Return
check "the run ends with success" e2e_wait_log 'quit delay: 2.0' 30
result_at=$(date +%s.%N)
for _ in $(seq 60); do kill -0 "$INSTALLER_PID" 2>/dev/null || break; sleep 0.05; done
ended_at=$(date +%s.%N)
e2e_stop_recording
peak=$(e2e_peak events)
check "the completion sound was heard on the event device (peak ${peak:-none})" awk -v p="${peak:-0}" 'BEGIN { exit !(p > 0.1) }'
check "the installer quit about 2 s after the result" awk -v a="$result_at" -v b="$ended_at" 'BEGIN { d = b - a; exit !(d > 1.5 && d < 3.0) }'
check "the old copy was asked to quit" grep -q "quit Demo: terminated after" "$LOG"
check "the old process is gone" bash -c "! kill -0 $oldpid 2>/dev/null"
check "the new version is in place" grep -q '<string>2.0</string>' "$old/Contents/Info.plist"
check "the old version is in the Trash" bash -c "trash-list 2>/dev/null | grep -qF '$old'"
check "the trashed copy is the old version" grep -q '<string>1.0</string>' "$XDG_DATA_HOME/Trash/files/Demo.app/Contents/Info.plist"
check "the desktop entry is valid" desktop-file-validate "$XDG_DATA_HOME/applications/com.velkaro.demo.desktop"
check "the new copy was launched" e2e_wait_log 'launched immediately: 1' 1
check "the new copy runs from its installed place" bash -c "sleep 0.5; pgrep -f '^$old/Contents/Linux/Demo' >/dev/null"
pkill -f "^$old/Contents/Linux/Demo"

echo "# 2. a copy that ignores the polite request is forced"
install_old_copy 1.5
cp "$BUILD/test-programs/fakeapp" "$old/Contents/Linux/Demo"
"$old/Contents/Linux/Demo" --ignore-term >/dev/null 2>&1 & stubborn=$!
sleep 0.5
start_installer
e2e_key "$WIN" Return
check "the run ends with success" e2e_wait_log 'successfully copied' 30
check "the copy was forced after the polite phase" grep -q 'force-quit Demo: terminated after' "$LOG"
check "the stubborn process is gone" bash -c "sleep 0.2; ! kill -0 $stubborn 2>/dev/null"
kill "$INSTALLER_PID" 2>/dev/null; pkill -f "^$old/Contents/Linux/Demo"; sleep 0.3

echo "# 3. a copy that keeps coming back blocks the install; Install works again afterwards"
install_old_copy 1.6
"$SUPPORT/respawn" "$old/Contents/Linux/Demo" >/dev/null 2>&1 & watchdog=$!
sleep 0.7
start_installer
e2e_key "$WIN" Return
check "the run gives up" e2e_wait_log 'Demo refused to quit; installation cancelled' 40
check "one retry notice" test "$(grep -c 'Demo did not quit; will retry' "$LOG")" -eq 1
check "the old version stays" grep -q '<string>1.6</string>' "$old/Contents/Info.plist"
sleep 0.5
import -window root "$T/refused.png" 2>/dev/null
kill "$watchdog"; pkill -f "^$old/Contents/Linux/Demo"; sleep 0.3
: >"$LOG"
e2e_key "$WIN" Return
check "Install works again" e2e_wait_log 'successfully copied' 30
check "the new version is in place" grep -q '<string>2.0</string>' "$old/Contents/Info.plist"
kill "$INSTALLER_PID" 2>/dev/null; pkill -f "^$old/Contents/Linux/Demo"
e2e_finish
