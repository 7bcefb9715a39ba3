// Where the bytes of a file or stream come from and go to: a host hands in its files, pipes, sockets or memory as these.
//
//     qlx::streams::MemorySource source(bytes);
//     const auto first = source.peek(16);
//     const std::uint64_t passed = source.skip(first.size());
//     report(source.offset(), passed);
#pragma once

#include <qlx/base/finding.h>
#include <qlx/streams/export.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace qlx::streams {

/// As many bytes can be looked at in advance.
inline constexpr std::size_t kLongestPeek = std::size_t{64} * 1024;

/// Bytes that are read from front to back. Nothing here throws because of the input: what fails ends the bytes, and
/// error() tells it from their end.
class ByteSource {
public:
    ByteSource() = default;
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;
    virtual ~ByteSource() = default;

    /// Fills `to`.
    /// @return The bytes that were read; fewer than `to` has room for only at the end, or where reading fails.
    virtual std::size_t read(std::span<std::uint8_t> to) = 0;

    /// The next bytes, without passing over them: they are read again by read() and skip().
    /// @param count At most kLongestPeek.
    /// @return `count` bytes, fewer only as with read(); valid until the next call of another operation.
    [[nodiscard]] virtual std::span<const std::uint8_t> peek(std::size_t count) = 0;

    /// Passes over `count` bytes.
    /// @return The bytes that were passed over; fewer only as with read().
    virtual std::uint64_t skip(std::uint64_t count) = 0;

    /// Goes on reading at `offset`, counted from the beginning.
    /// @return False when that is not possible, as of a pipe; reading then goes on where it was.
    virtual bool seek(std::uint64_t offset) = 0;

    /// Bytes read or passed over so far: the place of the next one.
    [[nodiscard]] virtual std::uint64_t offset() const = 0;
    /// Bytes in all, where that is known and any of them can be sought.
    [[nodiscard]] virtual std::optional<std::uint64_t> size() const = 0;
    /// Why reading has failed (FindingCode::StreamReadFailed at the byte where it did); none as long as it has not.
    [[nodiscard]] virtual std::optional<Finding> error() const = 0;
};

/// Bytes that are in memory.
class QLX_STREAMS_EXPORT MemorySource final : public ByteSource {
public:
    /// Reads `bytes`, which must stay as they are as long as they are read.
    explicit MemorySource(std::span<const std::uint8_t> bytes) noexcept : _bytes(bytes) {}

    std::size_t read(std::span<std::uint8_t> to) override;
    [[nodiscard]] std::span<const std::uint8_t> peek(std::size_t count) override;
    std::uint64_t skip(std::uint64_t count) override;
    bool seek(std::uint64_t offset) override;
    [[nodiscard]] std::uint64_t offset() const override { return _offset; }
    [[nodiscard]] std::optional<std::uint64_t> size() const override { return _bytes.size(); }
    [[nodiscard]] std::optional<Finding> error() const override { return std::nullopt; }

private:
    std::span<const std::uint8_t> _bytes;
    std::size_t _offset = 0;
};

/// Takes bytes, one after the other.
class ByteSink {
public:
    ByteSink() = default;
    ByteSink(const ByteSink&) = delete;
    ByteSink& operator=(const ByteSink&) = delete;
    virtual ~ByteSink() = default;

    /// Takes all of the bytes.
    /// @return What kept it from that (FindingCode::StreamWriteFailed); none when all is well.
    [[nodiscard]] virtual std::optional<Finding> write(std::span<const std::uint8_t> bytes) = 0;
};

}  // namespace qlx::streams
