#!/usr/bin/env bash
# compare.sh ADAPTOR_PROGRAM REFERENCE_PROGRAM SOURCE
# Runs a guest program built through the adaptor and the same program built on real musl, each
# in a temporary directory of its own, and compares their standard output and exit status.
#   "// guest-args: A B C" in SOURCE gives the command-line arguments.
#   SOURCE's sibling NAME.adaptor.sed, when present, turns the musl run's output into what the
#   adaptor must print where the two are required to differ.
set -uo pipefail
adaptor=$1 reference=$2 source=$3
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
args=$(sed -n 's|^// guest-args: *||p' "$source" | head -n 1)
sed_file=${source%.c}.adaptor.sed
for p in "$adaptor" "$reference"; do
  [ -x "$p" ] || { echo "no guest program at $p"; exit 1; }
done

work=$(mktemp -d "${TMPDIR:-/tmp}/kelp-guest.XXXXXX")
trap 'rm -rf "$work"' EXIT

run() {  # run KIND PROGRAM
  mkdir -p "$work/$1"
  (cd "$work/$1" && TMPDIR="$work/$1" "$root/tools/kelp-run" "$2" $args \
    >"$work/$1.out" 2>"$work/$1.err" </dev/null)
  echo $? >"$work/$1.status"
}
run adaptor "$adaptor"
run reference "$reference"

expected=$work/reference.out
if [ -f "$sed_file" ]; then
  sed -f "$sed_file" "$work/reference.out" >"$work/expected.out"
  expected=$work/expected.out
fi

status=0
if ! diff -u "$expected" "$work/adaptor.out" >"$work/diff"; then
  echo "standard output differs (- musl, + adaptor):"
  cat "$work/diff"
  status=1
fi
if [ "$(cat "$work/reference.status")" != "$(cat "$work/adaptor.status")" ]; then
  echo "exit status differs: musl $(cat "$work/reference.status"), adaptor $(cat "$work/adaptor.status")"
  status=1
fi
if [ $status -ne 0 ]; then
  echo "--- adaptor stderr"; cat "$work/adaptor.err"
  echo "--- musl stderr"; cat "$work/reference.err"
else
  echo "identical output ($(wc -l <"$work/adaptor.out") lines), exit status $(cat "$work/adaptor.status")"
fi
exit $status
