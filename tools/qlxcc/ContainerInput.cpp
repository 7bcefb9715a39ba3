#include "ContainerInput.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>

extern "C" {
#include <libavformat/avformat.h>
}

namespace qlx::tool {

namespace {

constexpr int kReadBuffer = 64 * 1024;
/// As many remarks are kept.
constexpr std::size_t kMostRemarks = 20;

std::mutex remarksMutex;
std::vector<std::string> remarks;

void keep(const char* format, va_list arguments) {
    std::array<char, 256> text{};
    (void)std::vsnprintf(text.data(), text.size(), format, arguments);
    std::string line = text.data();
    line.erase(line.find_last_not_of(" \r\n") + 1);
    const std::lock_guard lock(remarksMutex);
    if (remarks.size() < kMostRemarks && !line.empty()) {
        remarks.push_back(std::move(line));
    }
}

void receiveRemark(void* object, int level, const char* format, va_list arguments) noexcept {
    // The decoders that look for a stream's parameters stumble over every stream that does not begin with a key
    // frame: only what is wrong with the container counts.
    if (level > AV_LOG_ERROR || object == nullptr) {
        return;
    }
    const AVClass* const type = *static_cast<const AVClass* const*>(object);
    if (type == nullptr || type->class_name == nullptr || std::strcmp(type->class_name, "AVFormatContext") != 0) {
        return;
    }
    try {
        keep(format, arguments);
    } catch (const std::exception&) {
        // Without memory for a remark there is none; nothing may be thrown through FFmpeg.
        return;
    }
}

}  // namespace

void listenToDemuxers() {
    av_log_set_callback(&receiveRemark);
}

std::vector<std::string> takeDemuxerRemarks() {
    const std::lock_guard lock(remarksMutex);
    return std::exchange(remarks, {});
}

std::string demuxerErrorText(int error) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    (void)av_strerror(error, text.data(), text.size());
    return text.data();
}

ContainerInput::ContainerInput(InputFile& source) : _source(source) {
    auto* const buffer = static_cast<unsigned char*>(av_malloc(kReadBuffer));
    if (buffer == nullptr) {
        throw std::bad_alloc();
    }
    _context = avio_alloc_context(buffer, kReadBuffer, 0, this, &ContainerInput::read, nullptr,
                                  source.size() ? &ContainerInput::seek : nullptr);
    if (_context == nullptr) {
        av_free(buffer);
        throw std::bad_alloc();
    }
    _context->seekable = source.size() ? AVIO_SEEKABLE_NORMAL : 0;
}

ContainerInput::~ContainerInput() {
    // FFmpeg may have put another buffer in place of the first.
    av_freep(&_context->buffer);
    avio_context_free(&_context);
}

void ContainerInput::forbidSeeking() noexcept {
    _context->seek = nullptr;
    _context->seekable = 0;
}

void ContainerInput::keepLast(std::span<const std::uint8_t> bytes) {
    bytes = bytes.last(std::min(bytes.size(), kKeptBytes));
    const std::size_t kept = std::min(_lastBytes.size(), kKeptBytes - bytes.size());
    _lastBytes.erase(_lastBytes.begin(), _lastBytes.end() - static_cast<std::ptrdiff_t>(kept));
    _lastBytes.insert(_lastBytes.end(), bytes.begin(), bytes.end());
}

void ContainerInput::rethrow() {
    if (_error) {
        std::rethrow_exception(std::exchange(_error, nullptr));
    }
}

int ContainerInput::read(void* self, std::uint8_t* buffer, int size) noexcept {
    auto& input = *static_cast<ContainerInput*>(self);
    if (size <= 0) {
        return AVERROR(EINVAL);
    }
    try {
        const std::uint64_t place = input._source.offset();
        const std::size_t got = input._source.read(std::span(buffer, static_cast<std::size_t>(size)));
        input.keepLast(std::span(buffer, got));
        if (input._check != nullptr) {
            input._check->take(place, std::span(buffer, got));
        }
        return got == 0 ? AVERROR_EOF : static_cast<int>(got);
    } catch (...) {
        input._error = std::current_exception();
        return AVERROR(EIO);
    }
}

std::int64_t ContainerInput::seek(void* self, std::int64_t offset, int whence) noexcept {
    auto& input = *static_cast<ContainerInput*>(self);
    const auto size = static_cast<std::int64_t>(input._source.size().value_or(0));
    switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE:
        return size;
    case SEEK_SET:
        break;
    default:
        // FFmpeg counts everything else from the beginning before it asks.
        return AVERROR(EINVAL);
    }
    input._lastBytes.clear();
    const bool isDone = offset >= 0 && input._source.seek(static_cast<std::uint64_t>(offset));
    return isDone ? offset : AVERROR(EINVAL);
}

}  // namespace qlx::tool
