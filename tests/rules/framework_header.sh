#!/bin/sh
# Rule: a test that uses the test framework includes its header itself.
# Reason: the builds that precompile the header would not miss it, and most builds of the test run do.
. "$(dirname "$0")/common.inc"

macro='(TEST|TEST_F|TEST_P|TYPED_TEST|(EXPECT|ASSERT)_[A-Z_]*)\('
project_files | grep -E '^tests/.*\.(h|cpp)$' >"$scratch/list"
while IFS= read -r file; do
    grep -q '^#include <gtest/' "$root/$file" && continue
    sed 's,//.*,,' "$root/$file" | grep -q -E "(^|[^A-Za-z_])$macro" && breach "$file: does not include <gtest/gtest.h>"
done <"$scratch/list"
verdict
