// Hand-made pictures of H.264, and the order in which they are presented.
#pragma once

#include "ExactBuffer.h"

#include <qlx/video/order.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qlxtest::pictures {

using Bytes = std::vector<std::uint8_t>;
using qlx::video::Codec;
using qlx::video::PictureOrder;

/// All that is known by now.
template <class Item>
inline std::vector<Item> marksOf(PictureOrder<Item>& order) {
    std::vector<Item> marks;
    while (const std::optional<Item> mark = order.take()) {
        marks.push_back(*mark);
    }
    return marks;
}

/// Adds the units one after the other, marked from 0 on.
inline std::vector<int> orderOf(Codec codec, const std::vector<std::string>& units) {
    PictureOrder<int> order({codec});
    int mark = 0;
    for (const std::string& unit : units) {
        order.add(fromHex(unit), mark++);
    }
    order.finish();
    return marksOf(order);
}

// Baseline profile, counts of 4 bits for frames and order, frames only: 1 1 1 1 010 0 1 1 1, then the stop bit.
inline const std::string kParameters = "00000001 67 42001e f4f0 00000001 68 e0";

/// A slice: 1 1 1 (first macroblock, type, parameters), frame number 0000, in an IDR picture 1 (its number), the order.
inline std::string slice(unsigned nal, unsigned order) {
    const bool isIdr = (nal & 0x1FU) == 5;
    const unsigned bits = isIdr ? 0xE100U | order << 4U | 8U : 0xE000U | order << 5U | 0x10U;
    const Bytes bytes{static_cast<std::uint8_t>(nal), static_cast<std::uint8_t>(bits >> 8U),
                      static_cast<std::uint8_t>(bits)};
    return "000001" + qlxtest::toHex(bytes);
}

/// Texts of 0 and 1 as bytes in hexadecimal, filled up with zeros; spaces do not count.
inline std::string hexOfBits(std::string text) {
    std::erase(text, ' ');
    text.resize((text.size() + 7) / 8 * 8, '0');
    Bytes bytes;
    for (std::size_t place = 0; place < text.size(); place += 8) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(text.substr(place, 8), nullptr, 2)));
    }
    return qlxtest::toHex(bytes);
}

/// An Exp-Golomb code without sign.
inline std::string ue(unsigned value) {
    std::string bits;
    for (unsigned rest = value + 1; rest > 0; rest /= 2) {
        bits.insert(0, rest % 2 != 0 ? "1" : "0");
    }
    return std::string(bits.size() - 1, '0') + bits;
}

}  // namespace qlxtest::pictures
