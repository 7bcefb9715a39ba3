#!/usr/bin/env bash
# Runs a share of the tests of a GoogleTest program in one process.
#   shard.sh PROGRAM INDEX TOTAL
# GoogleTest deals out the tests in turn: a shard runs those at INDEX, INDEX + TOTAL and so on in the program's list.
# Hence its number of tests is known, and the numbers of all shards add up to the list. A shard that runs another
# number, or none, fails, also when the program ends with success. TEST_TMPDIR is a folder of the shard's own.
set -euo pipefail

program=$1 index=$2 total=$3
report=$TEST_TMPDIR/tests.xml

listed=$("$program" --gtest_list_tests | grep -c '^  ')
share=$(((listed - index + total - 1) / total))

rm -f "$report"
GTEST_TOTAL_SHARDS=$total GTEST_SHARD_INDEX=$index GTEST_OUTPUT=xml:$report "$program"
ran=$(grep -c '<testcase .* status="run"' "$report" || true)
if ((share < 1 || ${ran:-0} != share)); then
    echo "shard $((index + 1)) of $total: ${ran:-0} tests ran instead of $share" >&2
    exit 1
fi
echo "shard $((index + 1)) of $total: $ran of $listed tests"
