#!/usr/bin/env bash
# Builds the malloc-hook guest program with kelp-cc and runs it three ways: with the test hook
# library on the search path (lifecycle), without it (missing) and with a variant whose
# initialize fails (init-fails). musl has no malloc hook, so the runs are compared with
# expected.out rather than with a musl build. The host's dlerror text is not part of the check.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/../../.." && pwd)
build=${KELP_BUILD_DIR:-$root/build/linux-armhf}
out=$1
rm -rf "$out"
mkdir -p "$out"
"$root/tools/kelp-cc" -O1 -g -Wall -Werror -I"$root/tests/unit" -o "$out/main" "$here/main.c"
for run in lifecycle:ok missing:none init-fails:init-fails; do
  mode=${run%%:*} dir=$build/hook/${run#*:}
  echo "== $mode"
  LD_LIBRARY_PATH=$dir "$root/tools/kelp-run" "$out/main" "$mode" 2>"$out/$mode.err" ||
    { echo "exit status $?"; cat "$out/$mode.err"; }
done | sed 's/^\(Unable to open shared library [^:]*: \).*/\1(dlerror text)/' >"$out/run.out"
diff -u "$here/expected.out" "$out/run.out"
echo "malloc hook guest program: $(wc -l <"$out/run.out") lines as expected"
