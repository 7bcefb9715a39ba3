// Buffers in and out of hexadecimal digits, for the SCTE tests.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include "ExactBuffer.h"

#include <string>
#include <string_view>

namespace qlxtest {

inline qlx::Data dataFromHex(std::string_view text) {
    return fromHex(text);
}

/// The digits, with "none" for no buffer.
inline std::string hexOf(const qlx::Data& data) {
    return data ? toHex(data) : "none";
}

/// The digits of a text without its spaces, to compare with.
inline std::string hex(std::string_view text) {
    return toHex(fromHex(text));
}

}  // namespace qlxtest
