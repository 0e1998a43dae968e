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

# Renaming: at -c time, and at link time for an object kelp-cc did not build; twice is harmless.
printf '#include <stddef.h>\nint utime(const char*, const void*);\nint touch(const char* p) { return utime(p, 0); }\n' >ref.c
"$root/tools/kelp-cc" -c -MD -MF ref.d -o ref.o ref.c
grep -q 'arm-linux-musleabihf' ref.d || { echo "-MD did not list musl's headers"; exit 1; }
arm-linux-gnueabihf-nm -u ref.o | grep -qw kelp_adaptor_utime || { echo "-c did not rename"; exit 1; }
arm-linux-gnueabihf-gcc -c -fPIC -o foreign.o ref.c
printf 'int touch(const char*);\nint main(int c, char** v) { return touch(v[0]) != 0; }\n' >use.c
"$root/tools/kelp-cc" -o use use.c foreign.o
arm-linux-gnueabihf-nm -u foreign.o | grep -qw utime || { echo "input object was modified"; exit 1; }
"$root/tools/kelp-cc" -o use2 use.c ref.o
for program in use use2; do
  arm-linux-gnueabihf-nm -D "$program" | grep -q 'kelp_adaptor_utime' \
    || { echo "$program does not reach kelp_adaptor_utime"; exit 1; }
  "$root/tools/kelp-run" "./$program" || { echo "$program failed"; exit 1; }
done
echo "kelp-cc renaming: ok"
