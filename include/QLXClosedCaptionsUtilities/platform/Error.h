// The error record that an operation may hand out beside its result.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Value.h>

#include <cstdint>
#include <string>

namespace qlx {

/// Domain, code and details of a failure.
struct Error {
    std::string domain;     ///< Who failed; for the library's own errors the application's identifier.
    std::int64_t code = 0;  ///< Number within the domain.
    Dictionary userInfo;    ///< Details by key.

    /// Field by field.
    friend bool operator==(const Error&, const Error&) = default;
};

}  // namespace qlx
