#!/usr/bin/env bash
# End to end: the installer window under Xvfb with openbox, in each of its first states, with a
# screenshot of each left in BUILD/e2e-shots/ to look at: the read-me page (RTF and Markdown), the
# install page (also in German), a setup error, and the system-version alert (whose default
# button quits). Each time the installer's window must be the active one.
set -uo pipefail
source "$(dirname "$0")/../support/e2e-lib.bash"
e2e_init "$1"
e2e_display
shots=$BUILD/e2e-shots
mkdir -p "$shots"
demo=$BUILD/Demo/Demo.app
res=$demo/Contents/Resources

show() { # name, installer arguments...
  local name=$1; shift
  : >"$LOG"
  "$INSTALLER" "$@" >/dev/null 2>&1 &
  PID=$!
  WIN=$(e2e_window_of "$PID")
  sleep 0.8
  import -window root "$shots/$name.png" 2>/dev/null
  ACTIVE_PID=$(xdotool getactivewindow getwindowpid 2>/dev/null)
}
is_front() { [ "$ACTIVE_PID" = "$PID" ]; }
title() { xdotool getwindowname "$WIN" 2>/dev/null; }
stop() { kill "$PID" 2>/dev/null; wait "$PID" 2>/dev/null; }

show readme-rtf -sourcePath "$demo" -readMePath "$res/ReadMe.rtf" -destinationPath "$HOME/Applications/Demo.app"
check "read-me (RTF): the installer is front" is_front
check "read-me (RTF): titled after the product" test "$(title)" = "Demo Installer"
stop
show readme-markdown -sourcePath "$demo" -readMePath "$res/ReadMe.md" -destinationPath "$HOME/Applications/Demo.app"
check "read-me (Markdown): the installer is front" is_front
stop
show install-page -sourcePath "$demo" -destinationPath "$HOME/Applications/Demo.app" -documentationPath "$res/Documentation.html"
check "install page: the installer is front" is_front
stop
LANGUAGE=de show install-page-de -sourcePath "$demo" -destinationPath "$HOME/Applications/Demo.app"
check "install page in German: titled in German" test "$(title)" = "Demo-Installationsprogramm"
stop
mkdir -p "$T/Bare.app/Contents/Linux"
show setup-error -sourcePath "$T/Bare.app"
check "setup error: logged" grep -q 'missing product signature' "$LOG"
check "setup error: the title still names the product" test "$(title)" = "Bare Installer"
stop
show system-alert -sourcePath "$demo" -minSystemVersion 999 -destinationPath "$HOME/Applications/Demo.app"
check "system-version alert: a second window is up" test "$(xdotool search --onlyvisible --pid "$PID" 2>/dev/null | wc -l)" -ge 2
xdotool key --clearmodifiers Return
for _ in $(seq 50); do kill -0 "$PID" 2>/dev/null || break; sleep 0.1; done
check "system-version alert: its default button quits" bash -c "! kill -0 $PID 2>/dev/null"
echo "screenshots in $shots"
e2e_finish
