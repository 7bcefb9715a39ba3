// Readers that have failed once.
#pragma once

#include <qlx/base/finding.h>
#include <qlx/base/result.h>

#include <optional>

namespace qlx::streams::detail {

/// Reads with `read()` unless reading has failed before: `failure` is given each time from then on.
template <class Read>
[[nodiscard]] Result<bool> readUnlessFailed(std::optional<Finding>& failure, const Read& read) {
    if (failure) {
        return *failure;
    }
    const Result<bool> result = read();
    if (!result) {
        failure = result.error();
    }
    return result;
}

}  // namespace qlx::streams::detail
