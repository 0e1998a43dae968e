#!/usr/bin/env bash
# The host seam agrees with bionic's own headers. Every src/host/*.h is compiled for Android
# with the adaptor's flags: a function that bionic declares and the seam declares again must be
# declared alike (a C function declared twice with different types does not compile). Every name
# the seam declares on its own must be one that no public bionic header declares: otherwise the
# seam must include that header.
set -euo pipefail
src=$1 command_file=$2 sysroot=$3 work=$4

mkdir -p "$work"
mapfile -t cmd <"$command_file"
# One translation unit per header, so that no header leans on what another includes.
: >"$work/seam.ast"
for h in "$src"/host/*.h; do
  tu=$work/$(basename "$h" .h).cpp
  echo "#include \"host/$(basename "$h")\"" >"$tu"
  "${cmd[@]}" -fsyntax-only -Xclang -ast-dump -fno-color-diagnostics "$tu" >>"$work/seam.ast"
done

# Declarations written in src/host/ that redeclare nothing: "name kind" per line. The dump gives
# a file name only where it changes, so the current file is carried from line to line.
own=$(awk -v host="$src/host/" '
  function flush() { if (pending != "") print pending; pending = "" }
  {
    line = $0; file_here = ""
    while (match(line, /<?\/[^ :<>,]+:[0-9]+:[0-9]+/)) {
      loc = substr(line, RSTART, RLENGTH); sub(/^</, "", loc); sub(/:[0-9]+:[0-9]+$/, "", loc)
      file_here = loc; line = substr(line, RSTART + RLENGTH)
    }
    if (file_here != "") current = file_here
  }
  /AsmLabelAttr/ && pending != "" {
    match($0, /"[^"]+"/); split(pending, p, " "); pending = substr($0, RSTART + 1, RLENGTH - 2) " " p[2]; next
  }
  /-(FunctionDecl|VarDecl) 0x/ {
    flush()
    if (index(current, host) != 1 || / prev 0x/) next
    if ($0 ~ /VarDecl/ && $0 !~ / extern/) next
    head = $0; sub(/ '"'"'.*/, "", head); n = split(head, w, " ")
    pending = w[n] " " ($0 ~ /FunctionDecl/ ? "function" : "object")
    next
  }
  /^[|` ]*[-`][A-Z]/ && !/^[|` ]*[-`](ParmVarDecl|AsmLabelAttr|.*Attr )/ { flush() }
  END { flush() }' "$work/seam.ast" | sort -u)

fail=0
while read -r name kind; do
  [ -n "$name" ] || continue
  if [ "$kind" = function ]; then pattern="\\b$name[[:space:]]*\\("; else pattern="\\b$name[[:space:]]*;"; fi
  if found=$(grep -rlE "$pattern" "$sysroot/usr/include" | head -1) && [ -n "$found" ]; then
    echo "the seam declares $name itself, but bionic's ${found#$sysroot/usr/include/} declares it: include that header"
    fail=1
  fi
done <<<"$own"
[ "$fail" -eq 0 ] || exit 1
echo "seam: $(grep -c . <<<"$own") names of its own, none in bionic's headers; the rest as bionic declares them"
echo "$own" | tr '\n' ' '; echo
