#!/usr/bin/env bash
# Builds the project with make twice, CC=kelp-cc and CC="kelp-cc --reference", runs both and
# compares them; then checks kelp-cc's refusals.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/../../.." && pwd)
out=$1
rm -rf "$out"
mkdir -p "$out/adaptor" "$out/reference" "$out/errors"
make -s -f "$here/Makefile" OUT="$out/adaptor" CC="$root/tools/kelp-cc" AR=arm-linux-gnueabihf-ar
make -s -f "$here/Makefile" OUT="$out/reference" CC="$root/tools/kelp-cc --reference" \
  AR=arm-linux-gnueabihf-ar
"$root/tests/guest/compare.sh" "$out/adaptor/app" "$out/reference/app" "$here/main.c"

# Refusals must be clear and name what is wrong.
cd "$out/errors"
echo 'int main(void) { return 0; }' >ok.c
if "$root/tools/kelp-cc" -static -o static ok.c 2>static.err; then
  echo "kelp-cc -static should fail"; exit 1
fi
grep -q -- '-static is not supported' static.err || { cat static.err; exit 1; }
printf 'void no_such_function(void);\nint main(void) { no_such_function(); return 0; }\n' >undef.c
if "$root/tools/kelp-cc" -o undef undef.c 2>undef.err; then
  echo "linking an undefined reference should fail"; exit 1
fi
grep -q 'no_such_function' undef.err || { cat undef.err; exit 1; }
echo "kelp-cc refusals: ok"
