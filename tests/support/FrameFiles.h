// Reading files of frames to their end, and sources and sinks that fail.
#pragma once

#include <qlx/streams/byte_source.h>
#include <qlx/streams/frame_reader.h>
#include <qlx/streams/jsonl.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace qlxtest {

/// Everything that a reader gives.
struct FrameReading {
    std::vector<qlx::streams::Frame> frames;
    std::vector<std::string> problems;  ///< Warnings and errors with their places: `frame 0, byte 12: what`.
    std::vector<std::string> remarks;   ///< The same.
    std::string failure;                ///< `byte 12: what`, `line 3: what`.
};

/// `frame 3, line 9, byte 24: `, as much of it as is known.
inline std::string inWords(const qlx::streams::Place& place) {
    std::string text;
    text += place.frame ? "frame " + std::to_string(*place.frame) + ", " : "";
    text += place.line ? "line " + std::to_string(*place.line) + ", " : "";
    text += place.byte ? "byte " + std::to_string(*place.byte) + ", " : "";
    return text.empty() ? text : text.substr(0, text.size() - 2) + ": ";
}

inline FrameReading readAll(qlx::streams::FrameReader& reader) {
    FrameReading reading;
    for (;;) {
        qlx::Findings findings(1'000'000);
        qlx::streams::Frame frame;
        const qlx::Result<bool> more = reader.next(frame, &findings);
        for (const qlx::Finding& finding : findings) {
            auto& lines = finding.severity == qlx::Severity::Remark ? reading.remarks : reading.problems;
            lines.push_back(inWords(reader.placeOf(finding)) + finding.text());
        }
        if (!more) {
            const bool isLine = reader.placeUnit() == qlx::streams::PlaceUnit::TextLine;
            reading.failure =
                (isLine ? "line " : "byte ") + std::to_string(more.error().offset) + ": " + more.error().text();
            return reading;
        }
        if (!*more) {
            return reading;
        }
        reading.frames.push_back(frame);
    }
}

/// The JSON line of a frame.
inline std::string jsonLine(const qlx::streams::Frame& frame, const qlx::streams::JsonlMembers* members = nullptr) {
    std::string text;
    appendJsonLine(text, frame, members);
    return text;
}

/// Bytes of which reading fails behind some.
class FailingSource final : public qlx::streams::ByteSource {
public:
    /// @param bytes As many can be read; must outlive the source.
    explicit FailingSource(std::span<const std::uint8_t> bytes) : _source(bytes) {}

    std::size_t read(std::span<std::uint8_t> to) override { return noted(_source.read(to), to.size()); }
    [[nodiscard]] std::span<const std::uint8_t> peek(std::size_t count) override {
        const auto bytes = _source.peek(count);
        (void)noted(bytes.size(), count);
        return bytes;
    }
    std::uint64_t skip(std::uint64_t count) override { return noted(_source.skip(count), count); }
    bool seek(std::uint64_t /*offset*/) override { return false; }
    [[nodiscard]] std::uint64_t offset() const override { return _source.offset(); }
    [[nodiscard]] std::optional<std::uint64_t> size() const override { return std::nullopt; }
    [[nodiscard]] std::optional<qlx::Finding> error() const override {
        return _hasFailed ? std::optional(qlx::Finding{qlx::FindingCode::StreamReadFailed, qlx::Severity::Error,
                                                       _source.offset(), 5, 0})
                          : std::nullopt;
    }

private:
    template <class Count>
    Count noted(Count got, Count wanted) {
        _hasFailed = _hasFailed || got < wanted;
        return got;
    }

    qlx::streams::MemorySource _source;
    bool _hasFailed = false;
};

/// Bytes that come one after the other, as through a pipe.
class Pipe final : public qlx::streams::ByteSource {
public:
    /// @param bytes Must outlive the source.
    explicit Pipe(std::span<const std::uint8_t> bytes) : _source(bytes) {}

    std::size_t read(std::span<std::uint8_t> to) override { return _source.read(to); }
    [[nodiscard]] std::span<const std::uint8_t> peek(std::size_t count) override { return _source.peek(count); }
    std::uint64_t skip(std::uint64_t count) override { return _source.skip(count); }
    bool seek(std::uint64_t /*offset*/) override { return false; }
    [[nodiscard]] std::uint64_t offset() const override { return _source.offset(); }
    [[nodiscard]] std::optional<std::uint64_t> size() const override { return std::nullopt; }
    [[nodiscard]] std::optional<qlx::Finding> error() const override { return std::nullopt; }

private:
    qlx::streams::MemorySource _source;
};

/// Keeps what is written, up to a number of bytes.
class MemorySink final : public qlx::streams::ByteSink {
public:
    explicit MemorySink(std::size_t room = SIZE_MAX) : _room(room) {}

    [[nodiscard]] std::optional<qlx::Finding> write(std::span<const std::uint8_t> added) override {
        if (added.size() > _room - bytes.size()) {
            return qlx::Finding{qlx::FindingCode::StreamWriteFailed, qlx::Severity::Error, bytes.size(), 28, 0};
        }
        bytes.insert(bytes.end(), added.begin(), added.end());
        return std::nullopt;
    }

    [[nodiscard]] std::string text() const { return {bytes.begin(), bytes.end()}; }

    std::vector<std::uint8_t> bytes;

private:
    std::size_t _room;
};

}  // namespace qlxtest
