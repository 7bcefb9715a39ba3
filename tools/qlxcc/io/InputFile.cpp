#include "io/InputFile.h"

#include "io/Descriptors.h"
#include "io/Errors.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qlx::tool {

namespace {

constexpr std::size_t kReadAhead = std::size_t{256} * 1024;

}  // namespace

InputFile::InputFile(const std::string& path) : _name(path) {
    if (path == "-") {
        _name = "standard input";
        _descriptor = STDIN_FILENO;
    } else {
        _descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (_descriptor < 0) {
            throw failureIn(_name, systemErrorText(errno));
        }
        _ownsDescriptor = true;
    }
    // What a killed run left behind may be read: as long as it is, nobody takes it away.
    (void)::flock(_descriptor, LOCK_SH | LOCK_NB);
    struct stat status {};
    if (::fstat(_descriptor, &status) == 0) {
        if (S_ISDIR(status.st_mode)) {
            ::close(_descriptor);
            throw failureIn(_name, systemErrorText(EISDIR));
        }
        // Some files of the system say 0 and have content all the same.
        if (S_ISREG(status.st_mode) && status.st_size > 0 && _ownsDescriptor) {
            _size = static_cast<std::uint64_t>(status.st_size);
        }
    }
    _buffer.resize(kReadAhead);
}

InputFile::~InputFile() {
    if (_ownsDescriptor) {
        ::close(_descriptor);
    }
}

std::size_t InputFile::readSome(std::uint8_t* to, std::size_t count) {
    for (;;) {
        const ssize_t got = ::read(_descriptor, to, count);
        if (got >= 0) {
            if (got > 0 && _observer) {
                _observer({to, static_cast<std::size_t>(got)});
            }
            return static_cast<std::size_t>(got);
        }
        const int error = errno;
        const bool mayWait = error == EAGAIN || error == EWOULDBLOCK;
        if (error != EINTR && !(mayWait && waitFor(_descriptor, Readiness::ToRead))) {
            throw failureAtByte(_name, _offset, systemErrorText(error));
        }
    }
}

void InputFile::observe(std::function<void(std::span<const std::uint8_t>)> observer) {
    _observer = std::move(observer);
    _observer(std::span(_buffer).subspan(_bufferStart, _bufferEnd - _bufferStart));
}

std::size_t InputFile::takeBuffered(std::uint8_t* to, std::size_t count) {
    const std::size_t taken = std::min(count, _bufferEnd - _bufferStart);
    if (taken > 0 && to != nullptr) {
        std::memcpy(to, _buffer.data() + _bufferStart, taken);
    }
    _bufferStart += taken;
    _offset += taken;
    return taken;
}

/// Room that only a far look ahead needed is given back.
void InputFile::clearBuffer() {
    if (_buffer.size() > kReadAhead) {
        _buffer = std::vector<std::uint8_t>(kReadAhead);
    }
    _bufferStart = 0;
    _bufferEnd = 0;
}

std::size_t InputFile::read(std::span<std::uint8_t> to) {
    std::size_t done = 0;
    while (done < to.size()) {
        if (_bufferStart == _bufferEnd) {
            clearBuffer();
            _bufferEnd = readSome(_buffer.data(), _buffer.size());
            if (_bufferEnd == 0) {
                break;
            }
        }
        done += takeBuffered(to.data() + done, to.size() - done);
    }
    return done;
}

std::span<const std::uint8_t> InputFile::peek(std::size_t count) {
    return peekFar(std::min(count, kLongestPeek));
}

std::span<const std::uint8_t> InputFile::peekFar(std::size_t count) {
    if (_bufferEnd - _bufferStart < count) {
        _buffer.resize(std::max(_buffer.size(), count));
        std::copy(_buffer.begin() + static_cast<std::ptrdiff_t>(_bufferStart),
                  _buffer.begin() + static_cast<std::ptrdiff_t>(_bufferEnd), _buffer.begin());
        _bufferEnd -= _bufferStart;
        _bufferStart = 0;
        // A pipe gives what there is: several reads may be needed.
        while (_bufferEnd < count) {
            const std::size_t got = readSome(_buffer.data() + _bufferEnd, _buffer.size() - _bufferEnd);
            if (got == 0) {
                break;
            }
            _bufferEnd += got;
        }
    }
    return std::span(_buffer).subspan(_bufferStart, std::min(count, _bufferEnd - _bufferStart));
}

bool InputFile::seek(std::uint64_t offset) {
    const std::uint64_t bufferOffset = _offset - _bufferStart;
    if (offset >= bufferOffset && offset - bufferOffset <= _bufferEnd) {
        _bufferStart = static_cast<std::size_t>(offset - bufferOffset);
    } else {
        if (!_size || offset > *_size || ::lseek(_descriptor, static_cast<off_t>(offset), SEEK_SET) < 0) {
            return false;
        }
        clearBuffer();
    }
    _offset = offset;
    return true;
}

std::uint64_t InputFile::skip(std::uint64_t count) {
    std::uint64_t done = 0;
    while (done < count) {
        if (_bufferStart < _bufferEnd) {
            const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(count - done, _buffer.size()));
            done += takeBuffered(nullptr, wanted);
            continue;
        }
        // Long stretches of a file are jumped over, up to its end and not beyond.
        if (_size && *_size > _offset && count - done > _buffer.size()) {
            const std::uint64_t jump = std::min(count - done, *_size - _offset);
            if (::lseek(_descriptor, static_cast<off_t>(_offset + jump), SEEK_SET) >= 0) {
                clearBuffer();
                _offset += jump;
                done += jump;
                continue;
            }
        }
        clearBuffer();
        _bufferEnd = readSome(_buffer.data(), _buffer.size());
        if (_bufferEnd == 0) {
            break;
        }
    }
    return done;
}

}  // namespace qlx::tool
