#!/usr/bin/env bash
# Builds a guest program and a guest shared library with kelp-cc, puts the library in a
# directory of its own and runs the program, which opens it through a linker namespace over that
# directory. musl has no linker namespaces, so the run is compared with expected.out rather than
# with a musl build.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/../../.." && pwd)
out=$1
rm -rf "$out"
mkdir -p "$out/libs"
cc=$root/tools/kelp-cc
"$cc" -O1 -g -Wall -Werror -shared -fPIC -o "$out/libs/libalpha.so" "$here/alpha.c"
# The program reads back what the test host's linker was asked (kelphost_*), which exists
# only here: it links with --allow-host-only.
"$cc" --allow-host-only -O1 -g -Wall -Werror -o "$out/main" "$here/main.c"
"$root/tools/kelp-run" "$out/main" "$out/libs" >"$out/run.out" 2>"$out/run.err" || {
  echo "exit status $?"; cat "$out/run.out" "$out/run.err"; exit 1; }
diff -u "$here/expected.out" "$out/run.out"
echo "dlns guest program: $(wc -l <"$out/run.out") lines as expected"
