// A file as a demuxer reads it, with what is kept of it to say what is wrong with it.
#pragma once

#include "Demuxer.h"
#include "StreamCheck.h"

#include <qlx/streams/byte_source.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qlx::streams::detail {

/// A ByteSource for a demuxer.
class ContainerInput final : public DemuxerInput {
public:
    /// @param source Must outlive this.
    /// @param check Gets whatever is read; must outlive this.
    ContainerInput(ByteSource& source, StreamCheck& check) : _source(source), _check(check) {}

    std::optional<std::size_t> read(std::span<std::uint8_t> to) override;
    bool seek(std::uint64_t offset) override;
    [[nodiscard]] std::uint64_t offset() const override { return _source.offset(); }
    [[nodiscard]] std::optional<std::uint64_t> size() const override {
        return _canSeek ? _source.size() : std::nullopt;
    }

    /// Makes a file to be read from front to back, as a pipe is; before the demuxer is made.
    void forbidSeeking() noexcept { _canSeek = false; }

    /// The last bytes that have been read in one go: `kKeptBytes` of them, or fewer.
    [[nodiscard]] std::span<const std::uint8_t> lastBytes() const noexcept { return _lastBytes; }
    static constexpr std::size_t kKeptBytes = 4096;

private:
    void keepLast(std::span<const std::uint8_t> bytes);

    ByteSource& _source;
    StreamCheck& _check;
    bool _canSeek = true;
    std::vector<std::uint8_t> _lastBytes;
};

}  // namespace qlx::streams::detail
