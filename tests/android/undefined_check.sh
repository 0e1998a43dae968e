#!/usr/bin/env bash
# Every name the Android library needs from outside is bionic's, as apps may use it at API 31:
# in the list of bionic's exported names, bound to a symbol version no newer than API 31's
# (LIBC_S) that the sysroot's stub libraries define. And every helper taken from the compiler's
# builtins archive (built for the hard-float ABI) was pulled in by a name whose calling
# convention does not depend on the float ABI.
set -euo pipefail
lib=$1 list=$2 stubs=$3 extracted=$4
readelf=${READELF:-llvm-readelf}
allowed_versions='LIBC LIBC_N LIBC_O LIBC_OMR1 LIBC_P LIBC_Q LIBC_R LIBC_S'

dynsyms() { "$readelf" --dyn-syms -W "$1" | awk 'NR > 3 && $8 != "" { print $7, $8 }'; }

undefined=$(dynsyms "$lib" | awk '$1 == "UND" { print $2 }')
count=$(grep -c . <<<"$undefined")
# One awk pass: "name@version" per undefined symbol, checked against the list and the stubs.
fail=0
problems=$(awk -v versions="$allowed_versions" '
  BEGIN { n = split(versions, v, " "); for (i = 1; i <= n; i++) ok[v[i]] = 1 }
  FILENAME == ARGV[1] { listed[$1] = 1; next }
  FILENAME == ARGV[2] { if ($1 != "UND") { s = $2; sub(/@@/, "@", s); stub[s] = 1 }; next }
  {
    at = index($1, "@")
    if (at == 0) { print "unversioned undefined symbol: " $1; next }
    base = substr($1, 1, at - 1); version = substr($1, at + 1)
    if (!(base in listed)) print "not in bionic'"'"'s API-31 list: " base
    if (!(version in ok)) print "version newer than API 31'"'"'s or not an app version: " $1
    if (!(($1) in stub)) print "no stub library defines " $1
  }' "$list" <(for s in libc libm libdl; do dynsyms "$stubs/$s.so"; done) - <<<"$undefined")
if [ -n "$problems" ]; then echo "$problems"; fail=1; fi

# Members of the builtins archive that the library's own objects pulled in, and why.
while IFS=$'\t' read -r reference member symbol; do
  case "$reference" in *.a\(*) continue ;; esac  # pulled by another archive member
  case "$member" in *builtins*.a\(*) ;; *) continue ;; esac
  if ! [[ $symbol =~ ^__aeabi_ ]]; then
    echo "builtin helper with a float-ABI-dependent name: $symbol (from $member)"; fail=1
  fi
done < <(tail -n +2 "$extracted")

[ "$fail" -eq 0 ] || exit 1
echo "$count undefined symbols: all bionic's at API 31"
