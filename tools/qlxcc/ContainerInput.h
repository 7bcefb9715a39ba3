// The seam to FFmpeg's libraries: a file as they read one, and what they have to say.
#pragma once

#include "InputFile.h"
#include "StreamEnd.h"

#include <cstdint>
#include <exception>
#include <span>
#include <string>
#include <vector>

struct AVIOContext;

namespace qlx::tool {

/// An InputFile as FFmpeg reads one. What the file throws waits until FFmpeg, which is C, has returned.
class ContainerInput {
public:
    /// @param source Must outlive this.
    explicit ContainerInput(InputFile& source);
    ~ContainerInput();
    ContainerInput(const ContainerInput&) = delete;
    ContainerInput& operator=(const ContainerInput&) = delete;

    /// @param check Gets whatever is read from now on; must outlive this.
    void follow(StreamCheck& check) noexcept { _check = &check; }

    [[nodiscard]] AVIOContext* context() const { return _context; }

    /// Makes FFmpeg read a file from front to back, as it does a pipe.
    void forbidSeeking() noexcept;

    /// The last bytes that have been read in one go: `kKeptBytes` of them, or fewer.
    [[nodiscard]] std::span<const std::uint8_t> lastBytes() const noexcept { return _lastBytes; }
    static constexpr std::size_t kKeptBytes = 4096;

    /// Throws what reading the file has thrown, if anything.
    void rethrow();

private:
    static int read(void* self, std::uint8_t* buffer, int size) noexcept;
    void keepLast(std::span<const std::uint8_t> bytes);
    static std::int64_t seek(void* self, std::int64_t offset, int whence) noexcept;

    InputFile& _source;
    StreamCheck* _check = nullptr;
    AVIOContext* _context = nullptr;
    std::vector<std::uint8_t> _lastBytes;
    std::exception_ptr _error;
};

/// Makes FFmpeg keep what its demuxers have to say of damage, in place of printing it. Its log is one for the whole
/// process.
void listenToDemuxers();

/// What has been said since the last call; the first 20 remarks.
[[nodiscard]] std::vector<std::string> takeDemuxerRemarks();

/// An error code of FFmpeg in words.
[[nodiscard]] std::string demuxerErrorText(int error);

}  // namespace qlx::tool
