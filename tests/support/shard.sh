#!/usr/bin/env bash
# Runs a share of the tests of a GoogleTest program in one process.
#   shard.sh INDEX TOTAL PROGRAM...
# In front of PROGRAM may stand what emulates another machine. GTEST_FILTER leaves out tests as everywhere.
# GoogleTest deals out the tests in turn: a shard runs those at INDEX, INDEX + TOTAL and so on in the program's list.
# Hence its number of tests is known, and the numbers of all shards add up to the list. A shard that runs another
# number, or none, fails, also when the program ends with success. TEST_TMPDIR is a folder of the shard's own.
set -euo pipefail

index=$1 total=$2
shift 2
report=$TEST_TMPDIR/tests.xml

listed=$("$@" --gtest_list_tests | grep -c '^  ')
share=$(((listed - index + total - 1) / total))

rm -f "$report"
GTEST_TOTAL_SHARDS=$total GTEST_SHARD_INDEX=$index GTEST_OUTPUT=xml:$report "$@"
ran=$(grep -c '<testcase .* status="run"' "$report" || true)
if ((share < 1 || ${ran:-0} != share)); then
    echo "shard $((index + 1)) of $total: ${ran:-0} tests ran instead of $share" >&2
    exit 1
fi
echo "shard $((index + 1)) of $total: $ran of $listed tests"
