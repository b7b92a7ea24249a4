# Shared pieces of the end-to-end tests: a sandbox home, an X server with a window manager, a
# sound server with a null sink recorded from its monitor, and checks. Source it; call e2e_init.
# Every daemon started here is stopped by its pid when the test exits.

e2e_init() { # build-dir
  BUILD=$(cd "$1" && pwd)
  T=$(mktemp -d /tmp/e2e.XXXXXX)
  E2E_PIDS=()
  trap e2e_cleanup EXIT
  export HOME=$T/home XDG_STATE_HOME=$T/state XDG_RUNTIME_DIR=$T/run XDG_CONFIG_HOME=$T/home/.config
  export XDG_DATA_HOME=$T/home/.local/share
  mkdir -p "$HOME/Applications" "$XDG_STATE_HOME" "$XDG_CONFIG_HOME"
  mkdir -m 700 -p "$XDG_RUNTIME_DIR"
  LOG=$XDG_STATE_HOME/VelkaroInstaller.log
  INSTALLER=$BUILD/Installer.app/Contents/Linux/Installer
  FAILURES=0
}

e2e_cleanup() {
  for p in "${E2E_PIDS[@]}"; do kill "$p" 2>/dev/null || true; done
  [ -f "$XDG_RUNTIME_DIR/pulse/pid" ] && kill "$(cat "$XDG_RUNTIME_DIR/pulse/pid")" 2>/dev/null
  sleep 0.2
  if [ "${FAILURES:-1}" -eq 0 ] && [ -z "${E2E_KEEP:-}" ]; then rm -rf "$T"; else echo "e2e: kept $T"; fi
}

e2e_display() { # starts Xvfb on a free display and openbox on it
  exec 9>"$T/display"
  Xvfb -displayfd 9 -screen 0 1280x800x24 -nolisten tcp >"$T/xvfb.log" 2>&1 & E2E_PIDS+=($!)
  for _ in $(seq 100); do [ -s "$T/display" ] && break; sleep 0.05; done
  export DISPLAY=:$(cat "$T/display")
  openbox --sm-disable >"$T/openbox.log" 2>&1 & E2E_PIDS+=($!)
  for _ in $(seq 50); do xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id' && break; sleep 0.1; done
  export QT_QPA_PLATFORM=xcb
}

e2e_sound() { # a sound server with two null sinks; event sounds are routed to "alerts"
  pulseaudio --daemonize=yes -n --exit-idle-time=-1 --log-target=file:"$T/pa.log" \
    --load=module-native-protocol-unix \
    --load="module-null-sink sink_name=alerts sink_properties=device.description=Alerts" \
    --load="module-null-sink sink_name=main sink_properties=device.description=Main" \
    --load=module-stream-restore --load=module-default-device-restore >/dev/null 2>&1
  for _ in $(seq 50); do pactl info >/dev/null 2>&1 && break; sleep 0.1; done
  pactl set-default-sink main
}

e2e_record() { # sink: records its monitor into $T/<sink>.wav until e2e_stop_recording
  parecord --device="$1.monitor" --file-format=wav --format=s16le --rate=44100 --channels=2 "$T/$1.wav" &
  RECORDER=$!
  # A monitor needs a lead-in: wait until the recording really captures, then a little more.
  for _ in $(seq 100); do [ "$(stat -c %s "$T/$1.wav" 2>/dev/null || echo 0)" -gt 32768 ] && break; sleep 0.05; done
  sleep 0.3
}

e2e_stop_recording() { sleep 0.5; kill -INT "$RECORDER" 2>/dev/null; wait "$RECORDER" 2>/dev/null || true; }

e2e_peak() { sox "$T/$1.wav" -n stat 2>&1 | awk '/Maximum amplitude/ {print $3}'; }

# folder: one hash of its tree (names, types, modes, sizes, link targets) and of its contents
digest() { (cd "$1" 2>/dev/null && find . -printf '%p %y %m %s %l\n' | sort && find . -type f -exec md5sum {} + | sort) | md5sum | cut -c1-32; }
e2e_wait_log() { # pattern [seconds]
  local n=$(( ${2:-20} * 10 ))
  for _ in $(seq "$n"); do grep -qE "$1" "$LOG" 2>/dev/null && return 0; sleep 0.1; done
  return 1
}

e2e_window_of() { # pid: the id of its first visible window
  for _ in $(seq 100); do
    local w; w=$(xdotool search --onlyvisible --pid "$1" 2>/dev/null | head -1)
    [ -n "$w" ] && { echo "$w"; return 0; }
    sleep 0.1
  done
  return 1
}

e2e_key() { # window key
  xdotool windowactivate --sync "$1" 2>/dev/null || true
  xdotool key --window "$1" "$2"
}

check() { # description command...
  local what=$1; shift
  if "$@"; then echo "ok   - $what"; else echo "FAIL - $what"; FAILURES=$((FAILURES + 1)); fi
}

e2e_finish() {
  if [ "$FAILURES" -ne 0 ]; then
    echo "---- log"; tail -40 "$LOG" 2>/dev/null
    exit 1
  fi
}
