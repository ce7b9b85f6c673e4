#!/usr/bin/env bash
# Every dynamic symbol the library defines is declared in the public header, and every
# routine the header declares is exported: no C++ symbol leaks and no twin goes missing.
set -euo pipefail
library=$1
include=$2
# Sanitizer builds add their own __asan/__odr_asan/__ubsan symbols; those are not ours.
exported=$(nm -D --defined-only "$library" | awk '$2 ~ /^[TDRBVW]$/ && $3 !~ /^__/ {print $3}' | sort -u)
declared=$(grep -h 'KORVS_API' "$include"/korvstat.h "$include"/korvstat/*.h |
           grep -oE '\bkorvs_[A-Za-z0-9_]+[[:space:]]*[(;]' | grep -oE 'korvs_[A-Za-z0-9_]+' | sort -u)
status=0
leaked=$(comm -23 <(echo "$exported") <(echo "$declared"))
missing=$(comm -13 <(echo "$exported") <(echo "$declared"))
if [ -n "$leaked" ]; then echo "exported but not in the header:"; echo "$leaked"; status=1; fi
if [ -n "$missing" ]; then echo "declared but not exported:"; echo "$missing"; status=1; fi
echo "$(echo "$exported" | wc -l) symbols exported"
exit $status
