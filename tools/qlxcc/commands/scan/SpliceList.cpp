#include "commands/scan/SpliceList.h"

#include "io/Errors.h"
#include "io/FrameLoop.h"
#include "io/LimitedMessages.h"
#include "io/Text.h"
#include "streams/Json.h"
#include "streams/SCTEJson.h"
#include "streams/SectionWords.h"

#include <qlx/streams/ts/packet.h>

#include <array>
#include <cstdlib>
#include <map>
#include <optional>
#include <span>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

constexpr std::int64_t kTicksPerSecond = 90'000;

std::string pidText(std::uint16_t pid) {
    return hex(std::array{static_cast<std::uint8_t>(pid >> 8U), static_cast<std::uint8_t>(pid)});
}

std::string placeOf(const streams::SpliceArrival& arrival) {
    return "byte " + std::to_string(arrival.offset) + ", PID " + pidText(arrival.pid) +
           (arrival.arrival90k ? ", at " + std::to_string(*arrival.arrival90k) : std::string());
}

/// Whether a finding is about sections of splice information, or about packets that such can be in.
bool isOfSplices(const qlx::Finding& finding) {
    constexpr std::uint32_t kRoom = 0xFFFF'0000;
    const auto code = static_cast<std::uint32_t>(finding.code);
    return (code & kRoom) == (static_cast<std::uint32_t>(FindingCode::ScteMessageMarkWrong) & kRoom) ||
           finding.code == FindingCode::SpliceNotRegistered || finding.code == FindingCode::TsSectionCrcWrong ||
           finding.code == FindingCode::TsSectionCut || finding.code == FindingCode::TsSectionTooLong ||
           finding.code == FindingCode::TsSectionWrong;
}

/// Of packets that are lost to those who read their PID.
bool isOfPackets(const qlx::Finding& finding) {
    return finding.code == FindingCode::TsContinuityLost || finding.code == FindingCode::TsPacketDamaged ||
           finding.code == FindingCode::TsPacketScrambled;
}

/// Whether a finding is about sections that are no splice information: those of tables.
bool isOfTables(const qlx::Finding& finding, const streams::SpliceReader& reader) {
    const bool isOfSection =
        finding.code == FindingCode::TsSectionCrcWrong || finding.code == FindingCode::TsSectionCut ||
        finding.code == FindingCode::TsSectionTooLong || finding.code == FindingCode::TsSectionWrong;
    return isOfSection && !reader.reads(static_cast<std::uint16_t>(finding.first));
}

/// Says the findings that are about splice information, the first ones of each kind. Those of other packets are said of the
/// frames, and there may be very many.
class SpliceFindings final : public FindingSink {
public:
    explicit SpliceFindings(const InputFile& source) : _source(source), _notes(source) {}

    /// @param reader Tells whose packets matter; outlives what is added.
    void follow(const streams::SpliceReader& reader) noexcept { _reader = &reader; }

    void add(const qlx::Finding& finding) override {
        if (_reader == nullptr || !isOfTables(finding, *_reader)) {
            say(finding);
        } else if (++_tableCounts[{finding.code, finding.severity}] <= kKept) {
            _tables.push_back(finding);
        }
    }

    /// Says those of tables too, which nobody else has said.
    void sayTables() {
        for (const qlx::Finding& finding : _tables) {
            say(finding);
        }
        // The others come behind those of their kind that are shown.
        for (const auto& [kind, count] : _tableCounts) {
            for (std::uint64_t number = kKept; number < count; ++number) {
                say({kind.first, kind.second, 0, 0, 0});
            }
        }
    }

    /// Says how many more there were, and gives the number of problems.
    [[nodiscard]] std::uint64_t finish() const {
        _messages.finish();
        _notes.sayHowManyMore();
        return _problems;
    }

private:
    /// Findings of a kind that are kept; fewer are shown.
    static constexpr std::uint64_t kKept = 100;

    void say(const qlx::Finding& finding) {
        const bool isOfOurs =
            isOfPackets(finding) && _reader != nullptr && _reader->reads(static_cast<std::uint16_t>(finding.first));
        if (!isOfOurs && !isOfSplices(finding)) {
            return;
        }
        const std::string text = "byte " + std::to_string(finding.offset) + ": " + finding.text();
        if (finding.severity == Severity::Error || finding.code == FindingCode::TsSectionCrcWrong) {
            ++_problems;
            _messages.say(std::to_string(static_cast<std::uint32_t>(finding.code)), _source.name() + ": " + text);
        } else {
            _notes.say({text});
        }
    }

    const InputFile& _source;
    const streams::SpliceReader* _reader = nullptr;
    LimitedMessages _messages;
    RemarkNotes _notes;
    std::vector<Finding> _tables;
    std::map<std::pair<FindingCode, Severity>, std::uint64_t> _tableCounts;
    std::uint64_t _problems = 0;
};

/// Whether packets of a transport stream begin among the first bytes of a file.
bool hasPackets(std::span<const std::uint8_t> bytes) {
    streams::ts::PacketReader reader;
    reader.push(bytes);
    reader.finish();
    return reader.next().has_value();
}

std::string timeInWords(const streams::SpliceArrival& arrival) {
    const auto splice = arrival.splice90k();
    if (!splice) {
        return {};
    }
    std::string text = ", PTS " + std::to_string(*splice);
    if (const auto distance = arrival.distance90k()) {
        text += ", " + ticksInWords(static_cast<std::uint64_t>(std::abs(*distance))) +
                (*distance < 0 ? " before it came" : " ahead");
    }
    return text;
}

template <class Ticks>
Value ticksJson(const std::optional<Ticks>& ticks) {
    return ticks ? Value(Dictionary{{"value", *ticks},
                                    {"timescale", kTicksPerSecond},
                                    {"seconds", static_cast<double>(*ticks) / kTicksPerSecond}})
                 : Value();
}

Dictionary jsonOf(const streams::SpliceArrival& arrival, std::uint64_t count) {
    return {{"offset", arrival.offset},
            {"pid", std::uint64_t{arrival.pid}},
            {"program", std::uint64_t{arrival.program}},
            {"arrival", ticksJson(arrival.arrival90k)},
            {"splice", ticksJson(arrival.splice90k())},
            {"distance", ticksJson(arrival.distance90k())},
            {"count", count},
            {"section", tool::jsonOf(arrival.section)}};
}

}  // namespace

/// What takes the bytes, as long as they come.
struct SpliceList::Reading {
    Reading(const InputFile& source, const std::vector<std::uint16_t>& pids)
        : findings(source), reader({.pids = pids}, &findings) {
        findings.follow(reader);
    }

    SpliceFindings findings;
    streams::SpliceReader reader;
};

SpliceList::SpliceList(const InputFile& source, const std::vector<std::uint16_t>& pids)
    : _source(source), _reading(std::make_unique<Reading>(source, pids)) {}
SpliceList::~SpliceList() = default;

void SpliceList::readFile(const std::string& file) {
    InputFile source(file);
    std::vector<std::uint8_t> piece(std::size_t{1} << 18U);
    bool isStream = false;
    while (const std::size_t size = source.read(piece)) {
        const auto bytes = std::span<const std::uint8_t>(piece).first(size);
        isStream = isStream || hasPackets(bytes);
        if (!isStream) {
            break;
        }
        push(bytes);
    }
    finish();
}

void SpliceList::push(std::span<const std::uint8_t> bytes) {
    if (!_hasEnded) {
        _reading->reader.push(bytes);
        take();
    }
}

void SpliceList::finish() {
    if (!_hasEnded) {
        _reading->reader.finish();
        take();
        _hasEnded = true;
    }
}

void SpliceList::close(bool saysTables) {
    if (_reading == nullptr) {
        return;
    }
    _hasEnded = true;
    if (saysTables) {
        _reading->findings.sayTables();
    }
    _problems = _reading->findings.finish();
    _reading.reset();
    if (_leftOut > 0) {
        ++_problems;
        printMessage(_source.name() + ": " + counted(_leftOut, "section") + " of splice information left out, behind " +
                     std::to_string(_sections.size()) + " different ones with " + counted(_bytes, "byte"));
    }
}

bool SpliceList::ByContent::operator()(const Counted* left, const Counted* right) const noexcept {
    return std::tie(left->arrival.pid, left->arrival.bytes) < std::tie(right->arrival.pid, right->arrival.bytes);
}

void SpliceList::take() {
    while (auto arrival = _reading->reader.next()) {
        Counted one{*std::move(arrival), 1};
        if (const auto known = _known.find(&one); known != _known.end()) {
            ++(*known)->count;
        } else if (_sections.size() < kMostSections && _bytes + one.arrival.bytes.size() <= kMostBytes) {
            _bytes += one.arrival.bytes.size();
            // What it says takes many times its bytes.
            one.arrival.section = {};
            _known.insert(&_sections.emplace_back(std::move(one)));
        } else {
            ++_leftOut;
        }
    }
}

streams::SpliceArrival SpliceList::whole(const Counted& one) {
    streams::SpliceArrival arrival = one.arrival;
    // It could be read when it came.
    arrival.section = *scte::parseSpliceInfoSection(arrival.bytes);
    return arrival;
}

void SpliceList::write(OutputFile& output) const {
    if (!_sections.empty()) {
        output.write("splice information:\n");
    }
    for (const Counted& one : _sections) {
        const streams::SpliceArrival arrival = whole(one);
        output.write("  " + placeOf(arrival) + ": " + sectionInWords(arrival.section) + timeInWords(arrival) +
                     (one.count > 1 ? ", sent " + std::to_string(one.count) + " times" : std::string()) + "\n");
    }
}

void SpliceList::writeJson(OutputFile& output) const {
    // Not as one value: each section takes some memory in this form.
    output.write(R"({"schema":"qlxcc/splices/1","splices":[)");
    std::string_view before;
    for (const Counted& one : _sections) {
        output.write(std::string(before) + jsonText(Value(jsonOf(whole(one), one.count))));
        before = ",";
    }
    output.write("]}\n");
}

void SpliceList::takePoints(SplicePoints& points) const {
    for (const Counted& one : _sections) {
        points.take(placeOf(one.arrival), whole(one).section);
    }
}

}  // namespace qlx::tool
