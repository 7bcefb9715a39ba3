// Reading a file, or standard input, from front to back.
#pragma once

#include <qlx/streams/byte_source.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace qlx::tool {

using streams::kLongestPeek;

/// Bytes that are read once, in order.
class ByteSource {
public:
    ByteSource() = default;
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;
    virtual ~ByteSource() = default;

    /// What to call the source in messages.
    [[nodiscard]] virtual const std::string& name() const = 0;

    /// Fills `to`; gives fewer bytes only at the end.
    virtual std::size_t read(std::span<std::uint8_t> to) = 0;

    /// The next bytes, without passing over them: they are read again by read() and skip().
    /// @param count At most kLongestPeek.
    /// @return `count` bytes, fewer only at the end; valid until the next call of another operation.
    [[nodiscard]] virtual std::span<const std::uint8_t> peek(std::size_t count) = 0;

    /// Passes over `count` bytes; gives fewer only at the end.
    virtual std::uint64_t skip(std::uint64_t count) = 0;

    /// Bytes read or passed over so far.
    [[nodiscard]] virtual std::uint64_t offset() const = 0;

    /// Bytes in all, where that is known.
    [[nodiscard]] virtual std::optional<std::uint64_t> size() const = 0;
};

/// A file, or standard input for the path `-`.
class InputFile final : public ByteSource {
public:
    /// @throws Failure when the file cannot be opened.
    explicit InputFile(const std::string& path);
    ~InputFile() override;

    [[nodiscard]] const std::string& name() const override { return _name; }
    std::size_t read(std::span<std::uint8_t> to) override;
    std::uint64_t skip(std::uint64_t count) override;
    [[nodiscard]] std::uint64_t offset() const override { return _offset; }
    [[nodiscard]] std::optional<std::uint64_t> size() const override { return _size; }

    [[nodiscard]] std::span<const std::uint8_t> peek(std::size_t count) override;

    /// Goes on reading at `offset`, counted from the beginning; a file only, no pipe.
    /// @return False when that is not possible; reading then goes on where it was.
    bool seek(std::uint64_t offset);

private:
    std::size_t readSome(std::uint8_t* to, std::size_t count);
    std::size_t takeBuffered(std::uint8_t* to, std::size_t count);

    std::string _name;
    int _descriptor = -1;
    bool _ownsDescriptor = false;
    std::optional<std::uint64_t> _size;
    std::uint64_t _offset = 0;
    std::vector<std::uint8_t> _buffer;
    std::size_t _bufferStart = 0;
    std::size_t _bufferEnd = 0;
};

}  // namespace qlx::tool
