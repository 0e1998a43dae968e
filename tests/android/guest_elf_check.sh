#!/usr/bin/env bash
# A guest built with `kelp-cc --android` is a position-independent executable for the Android
# linker that needs the adaptor and bionic's libc, libm and libdl, and whose every undefined
# name is the adaptor's (an export of it) or bionic's (at API 31). A guest that names what
# neither has fails to link, naming it.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
kelp_cc=$here/../../tools/kelp-cc
work=$1 exports=$2 bionic_list=$3
readelf=${READELF:-llvm-readelf}
mkdir -p "$work"
fail() { echo "FAIL: $*"; exit 1; }

exe=$work/device_hello
"$kelp_cc" --android -O2 -o "$exe" "$here/device_hello.c" -lm

"$readelf" -h "$exe" | grep -Eq 'Type: +DYN' || fail "not position-independent"
"$readelf" -h "$exe" | grep -Eq 'Flags: .*soft-float|Flags: +0x5000200' || fail "not soft-float"
interp=$("$readelf" -l "$exe" | sed -n 's/.*Requesting program interpreter: \(.*\)]/\1/p')
[ "$interp" = /system/bin/linker ] || fail "interpreter is '$interp'"
needed=$("$readelf" -d "$exe" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | sort | tr '\n' ' ')
[ "$needed" = "libc.so libdl.so libkelpadaptor.so libm.so " ] || fail "needs '$needed'"

count=0
while read -r name; do
  count=$((count + 1))
  base=${name%%@*} version=${name#*@}
  case $version in
    KELP_ADAPTOR_1) grep -qxF -- "$base" "$exports" || fail "$base is not an adaptor export" ;;
    LIBC | LIBC_[NOPQRS] | LIBC_OMR1)
      grep -qxF -- "$base" "$bionic_list" || fail "$base is not in bionic's API-31 list" ;;
    *) fail "undefined $name is neither the adaptor's nor bionic's" ;;
  esac
done < <("$readelf" --dyn-syms -W "$exe" | awk 'NR > 3 && $7 == "UND" && $8 != "" { print $8 }')
[ "$count" -ge 4 ] || fail "only $count undefined names"

if "$kelp_cc" --android -o "$work/missing_name" "$here/missing_name.c" 2>"$work/missing.err"; then
  fail "a name bionic lacks linked"
fi
grep -q 'aio_error' "$work/missing.err" || fail "the link error does not name the symbol"
echo "guest ELF: interpreter $interp, needs $needed, $count undefined names all the adaptor's or bionic's"
