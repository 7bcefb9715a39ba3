// Arbitrary bytes as a splice_info_section, and as a text of one: what is read is kept, and written as the same bytes.
// Once as they are, and once with section_length and CRC_32 made right, so that what is in front of them is reached.
#include <qlx/base/section_crc.h>
#include <qlx/scte/scte35.h>
#include <qlx/scte/scte35_text.h>

#include "FuzzSupport.h"

#include <algorithm>

using qlxfuzz::require;

namespace {

using Bytes = std::vector<std::uint8_t>;

void makeRight(Bytes& bytes) {
    if (bytes.size() < 7 || bytes.size() > qlx::scte::kGreatestSectionBytes) {
        return;
    }
    const std::size_t length = bytes.size() - 3;
    bytes[0] = qlx::scte::kSpliceInfoTableId;
    bytes[1] = static_cast<std::uint8_t>((bytes[1] & 0xF0U) | length >> 8U);
    bytes[2] = static_cast<std::uint8_t>(length);
    const std::uint32_t crc = qlx::sectionCRC32(std::span(bytes).first(bytes.size() - 4));
    for (unsigned index = 0; index < 4; ++index) {
        bytes[bytes.size() - 4 + index] = static_cast<std::uint8_t>(crc >> (24 - 8 * index));
    }
}

void checkTexts(const qlx::scte::SpliceInfoSection& section) {
    for (const auto& descriptor : section.descriptors) {
        if (const auto* const segmentation = std::get_if<qlx::scte::SegmentationDescriptor>(&descriptor.data)) {
            static_cast<void>(qlx::scte::upidText(segmentation->upid));
            const auto upids = qlx::scte::upidsOfMid(segmentation->upid.bytes);
            require(!upids || *qlx::scte::midOfUpids(*upids) == segmentation->upid.bytes);
        }
    }
}

void checkSection(const Bytes& bytes) {
    qlx::Findings findings;
    const auto section = qlx::scte::parseSpliceInfoSection(bytes, &findings);
    if (!section) {
        require(!section.error().text().empty());
        return;
    }
    const auto written = writeSpliceInfoSection(*section);
    require(written && written->size() <= bytes.size());
    require(std::equal(written->begin(), written->end(), bytes.begin()));
    // What stands behind a section is said.
    require(written->size() == bytes.size() || findings.size() > 0);
    const auto back = qlx::scte::parseSpliceInfoSection(*written);
    require(back && *back == *section);
    for (const qlx::Finding& finding : findings) {
        require(finding.offset <= bytes.size() && !finding.text().empty());
    }
    checkTexts(*section);
}

void checkText(const Bytes& bytes) {
    const std::string text(bytes.begin(), bytes.end());
    if (const auto read = qlx::scte::spliceInfoBytes(text)) {
        require(*qlx::scte::spliceInfoBytes("0x" + qlx::scte::hexText(*read)) == *read);
        require(read->size() <= text.size());
    } else {
        require(read.error().offset <= text.size());
    }
    // A base64 text that happens to be all digits is none of a section.
    if (!bytes.empty() && bytes[0] >= 0xFC) {
        require(*qlx::scte::spliceInfoBytes(qlx::scte::base64Text(bytes)) == bytes);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes bytes(data, data + size);
    checkText(bytes);
    checkSection(bytes);
    makeRight(bytes);
    checkSection(bytes);
    return 0;
}
