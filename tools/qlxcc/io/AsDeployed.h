// Rows and KLV files as the fixed operations read and write them.
#pragma once

#include <qlx/streams/klv.h>
#include <qlx/streams/rows.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace qlx::tool {

/// Looks for packets as the fixed operation does it: near the row's start, in one byte of each sample, nothing verified.
class NearStartReader final : public streams::RowReader {
public:
    using RowReader::RowReader;

    [[nodiscard]] std::vector<std::string> takeLibraryTexts() override { return std::exchange(_texts, {}); }

protected:
    void search(const streams::FileRow& row, streams::Frame& frame, FindingSink* findings) override;

private:
    std::vector<std::string> _texts;
};

/// Puts packets on `v210` rows as the fixed operation does it, all in luma: each begins a 32-bit word behind the one before
/// it. Packets of other channels are findings (StreamChannelLeftOut).
class DeployedRowWriter final : public streams::RowWriter {
public:
    using RowWriter::RowWriter;

    [[nodiscard]] std::optional<Finding> write(const streams::Frame& frame, FindingSink* findings) override;

protected:
    [[nodiscard]] std::optional<Finding> fill(std::span<std::uint8_t> row, const streams::Frame& frame,
                                              std::uint64_t line) override;
};

/// Writes the elements of the fixed operation, which has all packets in luma and in the vertical blanking of the whole
/// frame: what is not are findings (StreamChannelLeftOut, StreamWrappingLeftOut).
class DeployedKlvWriter final : public streams::KlvWriter {
public:
    using KlvWriter::KlvWriter;

    [[nodiscard]] std::optional<Finding> write(const streams::Frame& frame, FindingSink* findings) override;

protected:
    [[nodiscard]] Result<Data> elementOf(const streams::Frame& frame) const override;
};

}  // namespace qlx::tool
