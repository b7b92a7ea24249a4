#!/usr/bin/env bash
# bench/copy-bundle.sh BUILD_DIR [--quick]: copying a large bundle (about 1 GiB in 20,000 files,
# with symbolic links) the installer's way (staging, sync, atomic publish) against `cp -a`, and
# against `cp -a` followed by `sync -f` (what it takes to be as durable), on the same file system,
# in the same run, median of 3.
set -euo pipefail
build=$1
files=20000 total_mb=1024 runs=3
[ "${2:-}" = "--quick" ] && { files=2000; total_mb=64; runs=3; }
work=$(mktemp -d "${BENCH_DIR:-/var/tmp}/copybench.XXXXXX")
trap 'rm -rf "$work"' EXIT
src=$work/src/Big.app
mkdir -p "$src/Contents/Linux" "$work/dst"
cp "$build/Demo/Demo.app/Contents/Info.plist" "$src/Contents/"
cp "$build/Demo/Demo.app/Contents/Linux/Demo" "$src/Contents/Linux/Big"
# Mostly small files, a few large ones, as application bundles are.
python3 - "$src/Contents/Resources" "$files" "$total_mb" <<'PY'
import os, sys, random
root, files, total = sys.argv[1], int(sys.argv[2]), int(sys.argv[3]) * 1024 * 1024
random.seed(7)
big = total // 2 // 8
for i in range(8):
    d = os.path.join(root, "frameworks")
    os.makedirs(d, exist_ok=True)
    with open(os.path.join(d, f"lib{i}.so"), "wb") as f: f.write(os.urandom(big))
small = (total - 8 * big) // files
for i in range(files):
    d = os.path.join(root, f"group{i % 200}", f"sub{i % 7}")
    os.makedirs(d, exist_ok=True)
    with open(os.path.join(d, f"f{i}.dat"), "wb") as f: f.write(os.urandom(max(1, int(small * random.uniform(0.2, 1.8)))))
    if i % 50 == 0:
        os.symlink(f"f{i}.dat", os.path.join(d, f"link{i}"))
PY
sync
median() { sort -n | awk '{ a[NR] = $1 } END { print a[int((NR + 1) / 2)] }'; }
timeit() { local s e; s=$(date +%s.%N); "$@" >/dev/null 2>&1; e=$(date +%s.%N); echo "$e - $s" | bc; }
ours=() cpa=() cpsync=()
for _ in $(seq "$runs"); do
  rm -rf "$work/dst"/*; sync
  ours+=("$(XDG_DATA_HOME=$work/trash timeit "$build/test-programs/install_probe" "$src" "$work/dst/Big.app")")
  rm -rf "$work/dst"/* "$work/trash"; sync
  cpa+=("$(timeit cp -a "$src" "$work/dst/Big.app")")
  rm -rf "$work/dst"/*; sync
  cpsync+=("$(timeit bash -c "cp -a '$src' '$work/dst/Big.app' && sync -f '$work/dst'")")
done
o=$(printf '%s\n' "${ours[@]}" | median) c=$(printf '%s\n' "${cpa[@]}" | median) s=$(printf '%s\n' "${cpsync[@]}" | median)
size=$(du -sm "$src" | cut -f1)
echo "bench: copy a ${size} MiB bundle of $files files (vs cp -a), median of $runs| $(printf '%.2f' "$o") s | $(printf '%.2f' "$c") s | $(echo "scale=2; $o / $c" | bc)"
echo "bench: copy a ${size} MiB bundle of $files files (vs cp -a + sync -f), median of $runs| $(printf '%.2f' "$o") s | $(printf '%.2f' "$s") s | $(echo "scale=2; $o / $s" | bc)"
