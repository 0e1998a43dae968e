#!/usr/bin/env bash
# link_check.sh WORKDIR
# kelp-cc's link is as strict as Android's loader: a reference that only the test host's libc
# defines fails the link and is named; the host's libm comes without -lm.
set -uo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
cc=$root/tools/kelp-cc
out=$1
rm -rf "$out"
mkdir -p "$out"
cd "$out" || exit 1
failed=0
fail() { echo "FAIL: $*"; failed=1; }

cat >glibc_only.c <<'EOF'
const char* gnu_get_libc_version(void);
int main(void) { return gnu_get_libc_version() == 0; }
EOF
cat >stand_in_only.c <<'EOF'
int kelphost_abort_message(char*, unsigned);
int main(void) { char b[8]; return kelphost_abort_message(b, sizeof b); }
EOF
cat >two_missing.c <<'EOF'
const char* gnu_get_libc_version(void);
const char* gnu_get_libc_release(void);
int main(void) { return gnu_get_libc_version() == gnu_get_libc_release(); }
EOF
cat >weak.c <<'EOF'
const char* gnu_get_libc_version(void) __attribute__((weak));
int main(void) { return 0; }
EOF
cat >math.c <<'EOF'
#include <math.h>
#include <stdio.h>
int main(int argc, char** argv) {
  (void)argv;
  double x = 2.5 + argc;  /* not folded by the compiler */
  printf("%g %ld\n", rint(x), lrint(x));
  return 0;
}
EOF
cat >exp10.c <<'EOF'
#define _GNU_SOURCE
#include <math.h>
#include <stdio.h>
int main(int argc, char** argv) {
  (void)argv;
  printf("%g\n", exp10(argc + 2.0));
  return 0;
}
EOF
cat >own_lib.c <<'EOF'
const char* gnu_get_libc_version(void) { return "guest"; }
EOF

# refuses SOURCE NAME...: the link fails, names each NAME, and leaves no output behind.
refuses() {
  local source=$1
  shift
  if "$cc" -o "${source%.c}" "$source" 2>"${source%.c}.err"; then
    fail "$source linked"
    return
  fi
  [ -e "${source%.c}" ] && fail "$source: a refused link left ${source%.c} behind"
  for name in "$@"; do
    grep -q "kelp-cc: $name: " "${source%.c}.err" || { fail "$source: $name not named"; cat "${source%.c}.err"; }
  done
}
refuses glibc_only.c gnu_get_libc_version
refuses stand_in_only.c kelphost_abort_message
refuses two_missing.c gnu_get_libc_release gnu_get_libc_version

# links EXPECTED_OUTPUT SOURCE [kelp-cc options...]: links, runs and prints EXPECTED_OUTPUT.
links() {
  local expected=$1 source=$2
  shift 2
  if ! "$cc" "$@" -o "${source%.c}" "$source" 2>"${source%.c}.err"; then
    fail "$source did not link"; cat "${source%.c}.err"; return
  fi
  local got
  got=$("$root/tools/kelp-run" "./${source%.c}")
  [ "$got" = "$expected" ] || fail "$source printed '$got', not '$expected'"
}
links "" weak.c
links "4 4" math.c
# exp10 is musl's and glibc's, not bionic's: linked only when asked for.
links "1000" exp10.c --allow-host-only

# A guest library on the command line may define what bionic lacks.
"$cc" -shared -fPIC -o libown.so own_lib.c || fail "libown.so did not link"
"$cc" -o glibc_only glibc_only.c -L. -lown -Wl,-rpath,"$out" 2>glibc_only.err \
  || { fail "a name from the guest's own library was refused"; cat glibc_only.err; }

[ $failed -eq 0 ] && echo "kelp-cc link check: ok"
exit $failed
