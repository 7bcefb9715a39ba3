// A file as a demuxer reads it, with what the tool keeps of it to say what is wrong with it.
#pragma once

#include "io/InputFile.h"
#include "streams/Demuxer.h"
#include "streams/StreamEnd.h"

#include <cstdint>
#include <exception>
#include <optional>
#include <span>
#include <vector>

namespace qlx::tool {

/// An InputFile for a demuxer. What the file throws waits until the demuxer, which may be C, has returned.
class ContainerInput final : public DemuxerInput {
public:
    /// @param source Must outlive this.
    /// @param check Gets whatever is read; must outlive this.
    ContainerInput(InputFile& source, StreamCheck& check) : _source(source), _check(check) {}

    std::optional<std::size_t> read(std::span<std::uint8_t> to) noexcept override;
    bool seek(std::uint64_t offset) noexcept override;
    [[nodiscard]] std::uint64_t offset() noexcept override { return _source.offset(); }
    [[nodiscard]] std::optional<std::uint64_t> size() const noexcept override {
        return _canSeek ? _source.size() : std::nullopt;
    }

    /// Makes a file to be read from front to back, as a pipe is; before the demuxer is made.
    void forbidSeeking() noexcept { _canSeek = false; }

    /// The last bytes that have been read in one go: `kKeptBytes` of them, or fewer.
    [[nodiscard]] std::span<const std::uint8_t> lastBytes() const noexcept { return _lastBytes; }
    static constexpr std::size_t kKeptBytes = 4096;

    /// Throws what reading the file has thrown, if anything.
    void rethrow();

private:
    void keepLast(std::span<const std::uint8_t> bytes);

    InputFile& _source;
    StreamCheck& _check;
    bool _canSeek = true;
    std::vector<std::uint8_t> _lastBytes;
    std::exception_ptr _error;
};

}  // namespace qlx::tool
