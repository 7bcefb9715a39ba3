// Reads and writes subtitling distribution packets.
#include <qlx/teletext/sdp.h>

#include "base/ByteSum.h"
#include "base/Bytes.h"
#include "teletext/SdpLayout.h"

#include <algorithm>

namespace qlx::teletext {

namespace {

using Bytes = std::span<const std::uint8_t>;

class Reader {
public:
    Reader(Bytes bytes, Sdp& sdp, FindingSink* findings) noexcept : _bytes(bytes), _sdp(sdp), _findings(findings) {}

    void read() {
        findLines();
        checkLength();
        checkDescriptors();
        if (_announced > _sdp.lines.size()) {
            add(FindingCode::SdpLineCut, Severity::Error, _end, _announced, _sdp.lines.size());
        } else {
            readFooter();
        }
    }

private:
    /// Takes as many lines as the descriptors announce and the bytes hold.
    void findLines() {
        for (const std::uint8_t descriptor : descriptors()) {
            if (descriptor == 0) {
                continue;
            }
            ++_announced;
            if (_bytes.size() - _end < kLineBytes) {
                continue;
            }
            SdpLine line{descriptor, {}};
            std::copy_n(_bytes.begin() + static_cast<std::ptrdiff_t>(_end), kLineBytes, line.bytes.begin());
            // There are as many places as descriptors.
            static_cast<void>(_sdp.lines.append({&line, 1}));
            _end += kLineBytes;
        }
    }

    void checkLength() {
        const std::size_t right = sdpSize(_announced);
        if (_bytes[kSdpLengthOffset] != right) {
            add(FindingCode::SdpLengthWrong, Severity::Warning, kSdpLengthOffset, _bytes[kSdpLengthOffset], right);
        }
    }

    void checkDescriptors() {
        const Bytes all = descriptors();
        for (std::size_t index = 0; index + 1 < all.size(); ++index) {
            if (all[index] == 0 && all[index + 1] != 0) {
                add(FindingCode::SdpDescriptorUnused, Severity::Warning, kSdpDescriptorsOffset + index, index);
            }
        }
    }

    void readFooter() {
        const std::size_t rest = _bytes.size() - _end;
        if (rest == 0 || _bytes[_end] != kSdpFooterIdentifier) {
            add(FindingCode::SdpFooterMissing, Severity::Warning, _end, rest == 0 ? 0 : _bytes[_end]);
            return;
        }
        if (rest < kSdpFooterBytes) {
            add(FindingCode::SdpFooterCut, Severity::Error, _end, rest, kSdpFooterBytes);
            return;
        }
        const std::size_t end = _end + kSdpFooterBytes;
        _sdp.counter = loadBig<std::uint16_t>(&_bytes[_end + 1]);
        if (const std::uint8_t sum = byteSum(_bytes.first(end)); sum != 0) {
            const std::uint8_t checksum = _bytes[end - 1];
            add(FindingCode::SdpChecksumWrong, Severity::Warning, end - 1, checksum,
                static_cast<std::uint8_t>(checksum - sum));
        }
        if (_bytes.size() > end) {
            add(FindingCode::SdpBytesBehindFooter, Severity::Warning, end, _bytes.size() - end);
        }
    }

    [[nodiscard]] Bytes descriptors() const noexcept {
        return _bytes.subspan(kSdpDescriptorsOffset, kGreatestSdpLines);
    }

    void add(FindingCode code, Severity severity, std::size_t offset, std::size_t first, std::size_t second = 0) {
        if (_findings != nullptr) {
            _findings->add(
                {code, severity, offset, static_cast<std::int64_t>(first), static_cast<std::int64_t>(second)});
        }
    }

    Bytes _bytes;
    Sdp& _sdp;
    FindingSink* _findings;
    std::size_t _announced = 0;
    std::size_t _end = kSdpHeaderBytes;  ///< Behind the last line that is there.
};

/// Why it cannot be written; None when it can.
Finding whyNot(const Sdp& sdp) {
    for (std::size_t index = 0; index < sdp.lines.size(); ++index) {
        if (sdp.lines[index].descriptor == 0) {
            return {FindingCode::SdpDescriptorUnused, Severity::Error, kSdpDescriptorsOffset + index,
                    static_cast<std::int64_t>(index), 0};
        }
    }
    return {};
}

void write(const Sdp& sdp, std::uint8_t* bytes) noexcept {
    SdpDescriptors descriptors{};
    for (std::size_t index = 0; index < sdp.lines.size() && index < descriptors.size(); ++index) {
        descriptors[index] = sdp.lines[index].descriptor;
    }
    const auto header = sdpHeader(sdpSize(sdp.lines.size()), descriptors);
    std::uint8_t* next = std::copy(header.begin(), header.end(), bytes);
    for (const SdpLine& line : sdp.lines) {
        next = std::copy(line.bytes.begin(), line.bytes.end(), next);
    }
    const auto footer = sdpFooter(sdp.counter);
    next = std::copy(footer.begin(), footer.end(), next);
    *next = sdpChecksum({bytes, next});
}

}  // namespace

bool Sdp::add(const Packet& packet, unsigned line, bool isOddField) {
    constexpr unsigned kGreatestLine = 31;
    if (line > kGreatestLine) {
        return false;
    }
    SdpLine entry{sdpDescriptor(line, isOddField), {}};
    return entry.descriptor != 0 && writePacket(packet, entry.bytes).hasValue() && lines.append({&entry, 1});
}

Result<Sdp> parseSdp(Bytes bytes, FindingSink* findings) {
    if (bytes.size() >= sizeof kSdpIdentifier && loadBig<std::uint16_t>(bytes.data()) != kSdpIdentifier) {
        return Finding{FindingCode::SdpIdentifierWrong, Severity::Error, 0, loadBig<std::uint16_t>(bytes.data()),
                       kSdpIdentifier};
    }
    if (bytes.size() < kSdpHeaderBytes) {
        return Finding{FindingCode::SdpTooShort, Severity::Error, bytes.size(), kSdpHeaderBytes,
                       static_cast<std::int64_t>(bytes.size())};
    }
    if (bytes[kSdpFormatOffset] != kSdpTeletextFormat) {
        return Finding{FindingCode::SdpFormatUnknown, Severity::Error, kSdpFormatOffset, bytes[kSdpFormatOffset],
                       kSdpTeletextFormat};
    }
    Sdp sdp;
    Reader(bytes, sdp, findings).read();
    return sdp;
}

Result<std::size_t> writeSdp(const Sdp& sdp, std::span<std::uint8_t> room) {
    if (const Finding why = whyNot(sdp); why.code != FindingCode::None) {
        return why;
    }
    const std::size_t size = sdpSize(sdp.lines.size());
    if (size > room.size()) {
        return Finding{FindingCode::OutputTooSmall, Severity::Error, 0, static_cast<std::int64_t>(size),
                       static_cast<std::int64_t>(room.size())};
    }
    write(sdp, room.data());
    return size;
}

Result<Data> writeSdp(const Sdp& sdp) {
    if (const Finding why = whyNot(sdp); why.code != FindingCode::None) {
        return why;
    }
    return Data::make(sdpSize(sdp.lines.size()), [&sdp](std::uint8_t* bytes) { write(sdp, bytes); });
}

bool SdpCounterCheck::receive(std::uint16_t counter, FindingSink* findings, std::uint64_t offset) {
    const bool isExpected = !_expected || *_expected == counter;
    if (!isExpected && findings != nullptr) {
        findings->add({FindingCode::SdpCounterJumped, Severity::Warning, offset, counter, *_expected});
    }
    _expected = static_cast<std::uint16_t>(counter + 1);
    return isExpected;
}

}  // namespace qlx::teletext
