// Messages of ANSI/SCTE 104 from digits, and what is read from them.
#pragma once

#include "ExactBuffer.h"

#include <qlx/scte/scte104.h>

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace qlxtest {

using Bytes = std::vector<std::uint8_t>;
using FindingList = std::vector<qlx::Finding>;

inline void append16(Bytes& bytes, std::size_t number) {
    bytes.push_back(static_cast<std::uint8_t>(number >> 8U));
    bytes.push_back(static_cast<std::uint8_t>(number));
}

inline void append(Bytes& bytes, const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

/// opID, data_length, data.
inline Bytes operationBytes(std::uint16_t opId, std::string_view dataDigits) {
    const Bytes data = fromHex(dataDigits);
    Bytes bytes;
    append16(bytes, opId);
    append16(bytes, data.size());
    append(bytes, data);
    return bytes;
}

/// AS_index 2, message_number 3, DPI_PID_index 1234h; with a right messageSize.
inline Bytes multipleMessage(std::string_view timeStampDigits, std::uint8_t count, const Bytes& operations) {
    Bytes bytes = fromHex("ffff 0000 00 02 03 1234 00");
    append(bytes, fromHex(timeStampDigits));
    bytes.push_back(count);
    append(bytes, operations);
    bytes[2] = static_cast<std::uint8_t>(bytes.size() >> 8U);
    bytes[3] = static_cast<std::uint8_t>(bytes.size());
    return bytes;
}

/// The same of one operation without a time stamp. Its data begin at byte 16.
inline Bytes multipleMessage(std::uint16_t opId, std::string_view dataDigits) {
    return multipleMessage("00", 1, operationBytes(opId, dataDigits));
}

/// result and result_extension FFFFh, numbers as in multipleMessage(); with a right messageSize. Its data begin at 13.
inline Bytes singleMessage(std::uint16_t opId, std::string_view dataDigits) {
    const Bytes data = fromHex(dataDigits);
    Bytes bytes;
    append16(bytes, opId);
    append16(bytes, 13 + data.size());
    append(bytes, fromHex("ffff ffff 00 02 03 1234"));
    append(bytes, data);
    return bytes;
}

inline FindingList listOf(const qlx::Findings& findings) {
    return {findings.begin(), findings.end()};
}

inline Bytes bytesOf(const qlx::Data& data) {
    return {data.begin(), data.end()};
}

/// What a writer gives; nothing, and a failed expectation, where it refuses.
template <class Message>
Bytes written(const Message& message) {
    const auto data = writeMessage(message);
    EXPECT_TRUE(data) << data.error().text();
    return data ? bytesOf(*data) : Bytes{};
}

}  // namespace qlxtest
