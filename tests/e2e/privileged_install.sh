#!/usr/bin/env bash
# End to end, for real: an ordinary user's installer cannot write /opt, so Install goes through
# pkexec and the privileged tool under a real polkit (system bus, polkitd, and a scripted
# authentication agent standing in for the password dialog). Dismissing the dialog gives the
# cancelled result (empty message), a wrong password the refusal, the right one an installed copy
# owned by root; a second install puts the old copy into that user's Trash, handed to the user.
set -uo pipefail
source "$(dirname "$0")/../support/e2e-lib.bash"
e2e_init "$1"
SUPPORT=$(cd "$(dirname "$0")/../support" && pwd)
if [ "$(id -u)" -ne 0 ]; then echo "skipped: needs root to create a user and start polkit"; exit 0; fi
e2e_display

user=instuser; password=Secret-1
useradd -m -s /bin/bash "$user" 2>/dev/null
echo "$user:$password" | chpasswd
usermod -aG sudo "$user"
uhome=$(getent passwd "$user" | cut -d: -f6)
urun=$(mktemp -d /tmp/run-$user.XXXXXX); chown "$user:$user" "$urun"; chmod 700 "$urun"
ULOG=$uhome/.local/state/VelkaroInstaller.log

# A system bus and polkit, unless the machine already runs them.
started_bus=0; started_polkit=0
if ! dbus-send --system --dest=org.freedesktop.DBus --print-reply / org.freedesktop.DBus.GetId >/dev/null 2>&1; then
  mkdir -p /run/dbus; rm -f /run/dbus/pid /run/dbus/system_bus_socket
  dbus-daemon --system --fork --print-pid >"$T/dbus.pid"; started_bus=1
fi
polkit_answers() {
  dbus-send --system --dest=org.freedesktop.PolicyKit1 --print-reply /org/freedesktop/PolicyKit1/Authority \
    org.freedesktop.DBus.Peer.Ping >/dev/null 2>&1
}
# The bus starts polkitd on the first call; start it by hand where activation does not work.
if ! polkit_answers; then
  /usr/lib/polkit-1/polkitd >"$T/polkitd.log" 2>&1 & echo $! >"$T/polkitd.pid"; started_polkit=1
fi
for _ in $(seq 50); do polkit_answers && break; sleep 0.1; done
check "polkit answers on the system bus" polkit_answers
cleanup_privileged() {
  pkill -u "$user" 2>/dev/null; sleep 0.2
  [ -n "${AGENT:-}" ] && kill "$AGENT" 2>/dev/null
  [ "$started_polkit" = 1 ] && kill "$(cat "$T/polkitd.pid")" 2>/dev/null
  [ "$started_bus" = 1 ] && { kill "$(cat "$T/dbus.pid")" 2>/dev/null; rm -f /run/dbus/system_bus_socket /run/dbus/pid; }
  userdel -r "$user" 2>/dev/null; rm -rf "$urun" /opt/Demo.app /usr/local/share/applications/com.velkaro.demo.desktop
  e2e_cleanup
}
trap cleanup_privileged EXIT
rm -rf /opt/Demo.app

start_user_installer() {
  rm -f "$ULOG"
  setpriv --reuid="$user" --regid="$user" --init-groups --reset-env \
    env HOME="$uhome" DISPLAY="$DISPLAY" XDG_RUNTIME_DIR="$urun" QT_QPA_PLATFORM=xcb PATH=/usr/bin:/bin \
    "$INSTALLER" -productName Demo -sourcePath "$BUILD/Demo/Demo.app" -productCode DEMO >/dev/null 2>&1 &
  UPID=$!
  UWIN=$(e2e_window_of "$UPID")
  sleep 0.3
}
agent() { # mode
  [ -n "${AGENT:-}" ] && { kill "$AGENT" 2>/dev/null; wait "$AGENT" 2>/dev/null; }
  "$SUPPORT/script-agent" "$UPID" "$1" >"$T/agent.log" 2>&1 & AGENT=$!
  for _ in $(seq 50); do grep -q READY "$T/agent.log" && return 0; sleep 0.1; done
  return 1
}
ulog_has() { # pattern [seconds]
  for _ in $(seq $(( ${2:-20} * 10 ))); do grep -qE "$1" "$ULOG" 2>/dev/null && return 0; sleep 0.1; done; return 1
}

start_user_installer
check "the user's installer chose /opt" ulog_has 'destinationPath = "?/opt/Demo.app"?;' 5
check "an agent answers for the installer" agent cancel
e2e_key "$UWIN" Return
check "dismissing the dialog is the cancelled result" ulog_has 'User canceled authorization' 30
check "the agent was asked" grep -q 'request org.freedesktop.policykit.exec' "$T/agent.log"
check "nothing was installed" test ! -e /opt/Demo.app

agent "password:wrong" >/dev/null
e2e_key "$UWIN" Return
check "a wrong password is refused" ulog_has 'ERROR -- Could not copy myself to /Applications with authorization' 40
check "nothing was installed" test ! -e /opt/Demo.app

agent "password:$password" >/dev/null
e2e_key "$UWIN" Return
check "the right password installs" ulog_has 'successfully copied' 40
check "the copy is owned by root" test "$(stat -c %U /opt/Demo.app/Contents/Linux/Demo)" = root
check "nothing in it is writable by group or others" test -z "$(find /opt/Demo.app -perm /022 ! -type l)"
check "it was launched" ulog_has 'launched immediately: 1' 5
kill "$UPID" 2>/dev/null; pkill -u "$user" -f Demo.app 2>/dev/null; sleep 0.3

start_user_installer
agent "password:$password" >/dev/null
check "the second run replaces the copy in place" ulog_has 'destinationPath = "?/opt/Demo.app"?;' 5
e2e_key "$UWIN" Return
check "the second install succeeds" ulog_has 'successfully copied' 40
check "the old copy is in the user's Trash" test -d "$uhome/.local/share/Trash/files/Demo.app"
check "handed to the user" test "$(stat -c %U "$uhome/.local/share/Trash/files/Demo.app/Contents/Info.plist")" = "$user"
check "trash-list sees it" bash -c "setpriv --reuid=$user --regid=$user --init-groups --reset-env env HOME=$uhome trash-list | grep -q /opt/Demo.app"
LOG=$ULOG
e2e_finish
