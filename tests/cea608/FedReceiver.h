// A receiver that tests feed with codes.
#pragma once

#include "ScreenLines.h"

#include <qlx/cea608/receiver.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace qlxtest {

using namespace qlx::cea608;
namespace screen = qlx::screen;
using Lines = std::vector<std::string>;

inline std::uint8_t odd(unsigned code) {
    return qlx::withOddParity(code);
}

/// A receiver that is fed with codes without parity.
class FedReceiver {
public:
    explicit FedReceiver(Channel channel = kCC1, const ReceiverOptions& options = {}) : _screen(channel, options) {}

    /// A control code, sent twice as broadcasters do.
    FedReceiver& control(unsigned first, unsigned second) {
        _wasChanged = _screen.receive(odd(first), odd(second), &_findings, 1);
        EXPECT_FALSE(_screen.receive(odd(first), odd(second), &_findings, 2));
        return *this;
    }

    /// A pair, sent once.
    FedReceiver& pair(std::uint8_t first, std::uint8_t second) {
        _wasChanged = _screen.receive(first, second, &_findings, 1);
        return *this;
    }

    FedReceiver& text(std::string text) {
        text.resize((text.size() + 1) / 2 * 2, '\0');
        for (std::size_t index = 0; index < text.size(); index += 2) {
            pair(odd(static_cast<unsigned char>(text[index])), odd(static_cast<unsigned char>(text[index + 1])));
        }
        return *this;
    }

    FedReceiver& resumeLoading() { return control(0x14, 0x20); }
    FedReceiver& endOfCaption() { return control(0x14, 0x2F); }

    FedReceiver& nulls(std::size_t count) {
        while (count-- > 0) {
            pair(0x80, 0x80);
        }
        return *this;
    }

    /// What was found since the last call.
    [[nodiscard]] Lines findings() {
        Lines texts;
        for (const qlx::Finding& finding : std::exchange(_findings, qlx::Findings())) {
            EXPECT_EQ(finding.offset, 1U);
            texts.push_back(finding.text());
        }
        return texts;
    }

    [[nodiscard]] screen::Change takeChange() { return _screen.takeChange(); }
    [[nodiscard]] bool wasChanged() const { return _wasChanged; }
    [[nodiscard]] screen::Screen screen() const { return _screen.screen(); }
    [[nodiscard]] Lines lines() const { return qlxtest::linesOf(screen()); }

    /// A cell by its column, counted from 0 without the margin.
    [[nodiscard]] screen::Cell cell(std::size_t row, std::size_t column) const {
        return screen().row(row - 1)[column + 1];
    }

private:
    Receiver _screen;
    qlx::Findings _findings;
    bool _wasChanged = false;
};

}  // namespace qlxtest
