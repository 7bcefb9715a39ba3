#include <qlx/cc/a53.h>

#include "base/Bytes.h"
#include "cc/A53Layout.h"

#include <algorithm>

namespace qlx::cc {

namespace {

using Bytes = std::span<const std::uint8_t>;

/// Bytes in front of the flags.
constexpr Bytes codesOf(UserDataForm form) noexcept {
    const Bytes all(a53::kCodes);
    switch (form) {
    case UserDataForm::Mpeg2:
        return all.subspan(a53::kT35Bytes);
    case UserDataForm::TypeCode:
        return all.last(1);
    case UserDataForm::ItuT35:
        break;
    }
    return all;
}

std::size_t sizeOf(const CaptionUserData& captions, UserDataForm form) noexcept {
    return codesOf(form).size() + a53::kBytesAroundTriplets + captions.triplets.bytes().size();
}

void write(const CaptionUserData& captions, UserDataForm form, std::uint8_t* next) noexcept {
    const Bytes codes = codesOf(form);
    const Bytes triplets = captions.triplets.bytes();
    next = std::copy(codes.begin(), codes.end(), next);
    *next++ =
        static_cast<std::uint8_t>((captions.processEmData ? a53::kProcessEMDataFlag : 0U) |
                                  (captions.processCcData ? a53::kProcessCCDataFlag : 0U) |
                                  (captions.additionalData ? a53::kAdditionalDataFlag : 0U) | captions.triplets.size());
    *next++ = captions.emData;
    next = std::copy(triplets.begin(), triplets.end(), next);
    *next = a53::kMarkerBits;
}

class UserDataReader {
public:
    UserDataReader(Bytes bytes, FindingSink* findings) noexcept : _bytes(bytes), _findings(findings) {}

    /// `offset`: the flags, which are there with the byte behind them.
    void read(std::size_t offset, CaptionUserData& captions) {
        const std::uint8_t flags = _bytes[offset];
        captions.processEmData = (flags & a53::kProcessEMDataFlag) != 0;
        captions.processCcData = (flags & a53::kProcessCCDataFlag) != 0;
        captions.additionalData = (flags & a53::kAdditionalDataFlag) != 0;
        captions.emData = _bytes[offset + 1];
        const std::size_t announced = flags & a53::kCountMask;
        const std::size_t begin = offset + 2;
        const std::size_t count = std::min(announced, (_bytes.size() - begin) / sizeof(Triplet));
        const std::size_t end = begin + count * sizeof(Triplet);
        // There is room for as many as can be announced.
        static_cast<void>(captions.triplets.appendBytes(_bytes.subspan(begin, end - begin)));
        for (std::size_t index = 0; index < count; ++index) {
            const std::uint8_t header = captions.triplets[index].header;
            checkBits(begin + index * sizeof(Triplet), header, header | Triplet::kMarkerBits);
        }
        if (count < announced) {
            add(FindingCode::UserDataCut, Severity::Error, end, announced, count);
        } else if (end == _bytes.size()) {
            add(FindingCode::UserDataMarkerBitsMissing, Severity::Warning, end, 0, 0);
        } else {
            checkBits(end, _bytes[end], a53::kMarkerBits);
            if (const std::size_t behind = _bytes.size() - end - 1; behind > 0) {
                add(FindingCode::UserDataBytesBehind, Severity::Remark, end + 1, behind, 0);
            }
        }
    }

private:
    void checkBits(std::size_t offset, std::uint8_t byte, unsigned right) {
        if (byte != right) {
            add(FindingCode::UserDataMarkerBitsWrong, Severity::Warning, offset, byte, right);
        }
    }

    void add(FindingCode code, Severity severity, std::size_t offset, std::size_t first, std::size_t second) {
        if (_findings != nullptr) {
            _findings->add(
                {code, severity, offset, static_cast<std::int64_t>(first), static_cast<std::int64_t>(second)});
        }
    }

    Bytes _bytes;
    FindingSink* _findings;
};

}  // namespace

Result<CaptionUserData> parseCaptionUserData(Bytes bytes, UserDataForm form, FindingSink* findings) {
    const Bytes codes = codesOf(form);
    const auto place = std::mismatch(codes.begin(), codes.end(), bytes.begin(), bytes.end());
    if (place.first != codes.end() && place.second != bytes.end()) {
        return Finding{FindingCode::UserDataUnlikeCaptions, Severity::Error,
                       static_cast<std::uint64_t>(place.second - bytes.begin()), *place.second, *place.first};
    }
    const std::size_t needed = codes.size() + a53::kBytesAroundTriplets - 1;
    if (bytes.size() < needed) {
        return Finding{FindingCode::UserDataTooShort, Severity::Error, 0, static_cast<std::int64_t>(needed),
                       static_cast<std::int64_t>(bytes.size())};
    }
    Result<CaptionUserData> captions(std::in_place);
    UserDataReader(bytes, findings).read(codes.size(), *captions);
    return captions;
}

Result<std::size_t> writeCaptionUserData(const CaptionUserData& captions, UserDataForm form,
                                         std::span<std::uint8_t> room) {
    const std::size_t size = sizeOf(captions, form);
    if (size > room.size()) {
        return Finding{FindingCode::OutputTooSmall, Severity::Error, 0, static_cast<std::int64_t>(size),
                       static_cast<std::int64_t>(room.size())};
    }
    write(captions, form, room.data());
    return size;
}

Data writeCaptionUserData(const CaptionUserData& captions, UserDataForm form) {
    return Data::make(sizeOf(captions, form), [&](std::uint8_t* bytes) { write(captions, form, bytes); });
}

}  // namespace qlx::cc
