// Coded pictures, written bit by bit, and what FFmpeg's decoder shows of them.
#pragma once

#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace qlxtest {

/// Bits from the highest on.
class UnitBits {
public:
    UnitBits& bits(std::uint32_t value, unsigned count) {
        while (count-- > 0) {
            if (_used % 8 == 0) {
                _bytes.push_back(0);
            }
            _bytes.back() = static_cast<std::uint8_t>(_bytes.back() | (value >> count & 1U) << (7 - _used % 8));
            ++_used;
        }
        return *this;
    }

    /// Exp-Golomb codes without and with sign.
    UnitBits& ue(std::uint32_t value) {
        unsigned zeros = 0;
        while ((value + 1) >> (zeros + 1) != 0) {
            ++zeros;
        }
        return bits(0, zeros).bits(value + 1, zeros + 1);
    }
    UnitBits& se(int value) { return ue(static_cast<std::uint32_t>(value > 0 ? 2 * value - 1 : -2 * value)); }

    UnitBits& align() {
        _used = _bytes.size() * 8;
        return *this;
    }

    UnitBits& bytes(std::size_t count, std::uint8_t value) {
        align();
        _bytes.insert(_bytes.end(), count, value);
        _used = _bytes.size() * 8;
        return *this;
    }

    /// A NAL unit in a byte stream. Emulation prevention is not needed where no two bytes of 0 follow one another.
    [[nodiscard]] std::vector<std::uint8_t> unit(std::uint8_t header) {
        bits(1, 1);
        std::vector<std::uint8_t> unit{0, 0, 0, 1, header};
        unsigned zeros = 0;
        for (const std::uint8_t byte : _bytes) {
            if (zeros == 2 && byte <= 3) {
                unit.push_back(3);
                zeros = 0;
            }
            unit.push_back(byte);
            zeros = byte == 0 ? zeros + 1 : 0;
        }
        return unit;
    }

    /// The bytes as they are, the last one filled up with zeros.
    [[nodiscard]] const std::vector<std::uint8_t>& taken() const { return _bytes; }

private:
    std::vector<std::uint8_t> _bytes;
    std::size_t _used = 0;
};

/// Whether FFmpeg is there.
inline bool hasFfmpeg() {
    return std::system("ffmpeg -version >/dev/null 2>&1") == 0;
}

/// The planes of the pictures that FFmpeg shows, one behind the other.
/// @param format Of the stream, by FFmpeg's name.
inline std::string shownByFfmpeg(const std::vector<std::uint8_t>& stream, const std::string& format) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a", stream);
    const std::string command = "ffmpeg -nostdin -v error -f " + format + " -i '" + file +
                                "' -vsync passthrough -f rawvideo -pix_fmt yuv420p -y '" + folder.path("shown") +
                                "' >'" + folder.path("log") + "' 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0) << folder.read("log");
    return folder.read("shown");
}

}  // namespace qlxtest
