// The findings of a reader as a list that can be compared.
#pragma once

#include <qlx/base/finding.h>

#include <vector>

namespace qlxtest {

inline std::vector<qlx::Finding> listOf(const qlx::Findings& findings) {
    return {findings.begin(), findings.end()};
}

}  // namespace qlxtest
