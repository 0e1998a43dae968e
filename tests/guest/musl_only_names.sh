#!/usr/bin/env bash
# musl_only_names.sh WORKDIR
# Every musl name that bionic lacks and the adaptor provides (docs/musl-only-names/names.tsv,
# class a) resolves: a generated program takes the address of each, built through kelp-cc's
# strict link check and run, then linked for Android against bionic's API-31 stubs.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
out=$1
rm -rf "$out"
mkdir -p "$out"
cd "$out"
fail() { echo "FAIL: $*"; exit 1; }

"$root/scripts/musl-only-names" --guest-program >names.c
expected=$(grep -c '^extern const char ' names.c)
[ "$expected" -gt 0 ] || fail "no names in the generated program"

# -fno-builtin: the program declares names such as bzero and index as objects.
"$root/tools/kelp-cc" -O2 -fno-builtin -o names names.c || fail "a provided name does not link"
result=$("$root/tools/kelp-run" ./names) || fail "the program failed: $result"
[ "$result" = "$expected of $expected names resolved" ] || fail "printed '$result'"

"$root/tools/kelp-cc" --android -O2 -fno-builtin -o names.android names.c \
  || fail "a provided name does not link for Android"
echo "$result, on the test host and for Android"
