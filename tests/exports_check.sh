#!/usr/bin/env bash
# The adaptor's dynamic symbol table holds exactly the names of its version script.
set -euo pipefail
lib=$1 list=$2
actual=$(arm-linux-gnueabihf-nm -D --defined-only "$lib" | awk '{ print $3 }' | sed 's/@.*//' \
  | grep -v '^KELP_ADAPTOR_1$' | sort -u)
expected=$(sort -u "$list")
if [ "$actual" != "$expected" ]; then
  echo "exported but not listed (<) / listed but not exported (>):"
  diff <(echo "$actual") <(echo "$expected") || true
  exit 1
fi
echo "$(echo "$expected" | wc -l) exports match the version script"
