// Arbitrary bytes as messages of ANSI/SCTE 104 and as sections of SCTE 35, each turned into the other: what is made can
// be written and reads back, and what nothing is said of comes back the same.
#include <qlx/scte/conversion.h>

#include "FuzzSupport.h"

#include <algorithm>
#include <array>
#include <vector>

using namespace qlx::scte;
using qlxfuzz::require;

namespace {

void requireTold(const qlx::Findings& findings) {
    for (const qlx::Finding& finding : findings) {
        require(finding.text().rfind("finding ", 0) != 0);
    }
}

void requireWritten(const SpliceInfoSection& section) {
    const auto bytes = writeSpliceInfoSection(section);
    require(bytes.hasValue());
    const auto back = parseSpliceInfoSection(*bytes);
    require(back.hasValue());
    const auto again = writeSpliceInfoSection(*back);
    require(again && *again == *bytes);
}

void requireWritten(const MultipleOperationMessage& message) {
    const auto bytes = writeMessage(message);
    require(bytes.hasValue());
    const auto back = parseMessage(*bytes);
    require(back.hasValue());
    const auto again = writeMessage(*back);
    require(again && *again == *bytes);
}

std::vector<qlx::Data> bytesOf(const std::vector<SpliceInfoSection>& sections) {
    std::vector<qlx::Data> bytes;
    for (const SpliceInfoSection& section : sections) {
        bytes.push_back(*writeSpliceInfoSection(section));
    }
    return bytes;
}

/// Sections as a message, and that as sections again.
void roundTrip(const std::vector<SpliceInfoSection>& sections, std::uint64_t frame, bool hasRate, bool areOurs) {
    MessageOptions options{.framePts90k = frame};
    ConversionOptions back{.framePts90k = frame};
    if (hasRate) {
        options.frameRate = qlx::FrameRate::Fps25;
        back.frameRate = qlx::FrameRate::Fps25;
    }
    qlx::Findings findings;
    const auto message = messageOf(sections, options, &findings);
    requireTold(findings);
    if (!message) {
        require(!message.error().text().empty());
        return;
    }
    requireWritten(*message);
    const auto again = sectionsOf(*message, back, &findings);
    requireTold(findings);
    require(again.hasValue() || !findings.empty() || !areOurs);
    if (!again) {
        return;
    }
    std::for_each(again->begin(), again->end(), [](const SpliceInfoSection& section) { requireWritten(section); });
    if (areOurs && findings.empty()) {
        // The same bytes: a descriptor that no operation can say comes back as its image.
        require(bytesOf(*again) == bytesOf(sections));
    }
}

}  // namespace

// What stands first, the frame's time, the bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    const std::uint8_t form = input.takeByte();
    std::uint64_t frame = 0;
    for (int index = 0; index < 4; ++index) {
        frame = frame << 8U | input.takeByte();
    }
    const bool hasRate = (form & 2U) != 0;
    const std::vector<std::uint8_t> bytes = input.rest();
    if ((form & 1U) != 0) {
        if (const auto section = parseSpliceInfoSection(bytes)) {
            roundTrip({*section}, frame, hasRate, false);
            roundTrip({*section, *section}, frame, hasRate, false);
        }
        return 0;
    }
    const auto message = parseMessage(bytes);
    const auto* const operations = message ? std::get_if<MultipleOperationMessage>(&*message) : nullptr;
    if (operations == nullptr) {
        return 0;
    }
    ConversionOptions options{.framePts90k = frame, .timeStampPts90k = frame};
    if (hasRate) {
        options.frameRate = qlx::FrameRate::Fps25;
    }
    qlx::Findings findings;
    const auto sections = sectionsOf(*operations, options, &findings);
    requireTold(findings);
    if (!sections) {
        require(!sections.error().text().empty());
        return 0;
    }
    std::for_each(sections->begin(), sections->end(),
                  [](const SpliceInfoSection& section) { requireWritten(section); });
    roundTrip(*sections, frame, hasRate, true);
    return 0;
}
