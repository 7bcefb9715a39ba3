// A caption service's receiver that is fed with bytes as tests spell them.
#pragma once

#include "ExactBuffer.h"
#include "FindingList.h"
#include "ScreenLines.h"

#include <qlx/cea708/receiver.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace qlxtest {

using Lines = std::vector<std::string>;
using Parts = std::vector<std::string>;

/// Bytes of hexadecimal digits, or, behind an apostrophe, of text.
inline std::vector<std::uint8_t> bytesOf(const Parts& parts) {
    std::vector<std::uint8_t> bytes;
    for (const std::string& part : parts) {
        const bool isText = part.starts_with('\'');
        const std::vector<std::uint8_t> some =
            isText ? std::vector<std::uint8_t>(part.begin() + 1, part.end()) : fromHex(part);
        bytes.insert(bytes.end(), some.begin(), some.end());
    }
    return bytes;
}

/// A receiver, and what it found.
struct Fed {
    qlx::cea708::Receiver receiver;
    qlx::Findings findings;
    bool wasChanged = false;

    explicit Fed(const qlx::cea708::ReceiverOptions& options = {}) : receiver(1, options) {}

    Fed& feed(const Parts& parts) {
        const ExactBuffer bytes(bytesOf(parts));
        wasChanged = receiver.receive(std::span<const std::uint8_t>(bytes.data(), bytes.size()), &findings);
        return *this;
    }
    [[nodiscard]] Lines lines() const { return linesOf(receiver.screen()); }
    [[nodiscard]] qlx::screen::Cell cell(std::size_t row, std::size_t column) const {
        const qlx::screen::Screen seen = receiver.screen();
        return seen.row(row)[column];
    }
    [[nodiscard]] std::vector<qlx::Finding> found() const { return listOf(findings); }
};

// Window 0 at row 14, 2 rows of 32 columns, styles 1 and 1: hidden, and shown.
inline const std::string kHidden = "98184100011f09";
inline const std::string kShown = "98384100011f09";

}  // namespace qlxtest
