// Reading a file, or standard input, from front to back.
#pragma once

#include <qlx/streams/byte_source.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace qlx::tool {

using streams::kLongestPeek;

/// Bytes with a name for messages. What fails throws a Failure: fewer bytes are their end.
class NamedSource : public streams::ByteSource {
public:
    /// What to call the source in messages.
    [[nodiscard]] virtual const std::string& name() const = 0;

    [[nodiscard]] std::optional<Finding> error() const final { return std::nullopt; }
};

/// A file, or standard input for the path `-`.
class InputFile final : public NamedSource {
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

    /// The same, of any number: all of them are kept in memory until they are read.
    [[nodiscard]] std::span<const std::uint8_t> peekFar(std::size_t count);

    bool seek(std::uint64_t offset) override;

    /// Hands on every byte, once and in order, as it is read from a pipe: what has been peeked at first. Of a file it misses
    /// what is passed over.
    void observe(std::function<void(std::span<const std::uint8_t>)> observer);

private:
    std::size_t readSome(std::uint8_t* to, std::size_t count);
    std::size_t takeBuffered(std::uint8_t* to, std::size_t count);
    void clearBuffer();

    std::string _name;
    int _descriptor = -1;
    bool _ownsDescriptor = false;
    std::optional<std::uint64_t> _size;
    std::uint64_t _offset = 0;
    std::vector<std::uint8_t> _buffer;
    std::size_t _bufferStart = 0;
    std::size_t _bufferEnd = 0;
    std::function<void(std::span<const std::uint8_t>)> _observer;
};

}  // namespace qlx::tool
