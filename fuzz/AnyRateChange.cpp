// The whole change of the rate, from a file of arbitrary frames to one that is read back: it ends with a file or with a
// message, the file has the frames of the same time, what goes out once is there once, and nothing is made up.
#include "commands/rate/RateChange.h"
#include "io/Errors.h"
#include "streams/OpenFrames.h"

#include <qlx/anc/rate.h>
#include <qlx/base/frame_rate.h>
#include <qlx/cc/cdp.h>
#include <qlx/streams/jsonl.h>

#include "FuzzSupport.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include <unistd.h>

using qlx::FrameRate;
using qlx::tool::Frame;
using qlxfuzz::require;

namespace {

/// More frames than an hour has at any rate, and more than that from one that stands behind a few earlier ones.
constexpr std::uint64_t kTooFar = 250'000;
constexpr std::uint64_t kMuchTooFar = 300'000;

/// What the packets are; the last one is a CDP, whose bytes are made.
constexpr std::array<qlx::anc::PacketId, 7> kIds{
    qlx::anc::ids::kOp47,        qlx::anc::ids::kScte104,           qlx::anc::ids::kAfdBarData, qlx::anc::ids::kAtc,
    qlx::anc::ids::kHdrMetadata, qlx::anc::ids::kPayloadIdentifier, qlx::anc::ids::kCdp};

/// A folder that is there as long as the program.
class Folder {
public:
    Folder() : _path(std::filesystem::temp_directory_path() / ("fuzz_rate_" + std::to_string(getpid()))) {
        std::filesystem::create_directories(_path);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(_path, ignored);
    }

    [[nodiscard]] std::string file(const char* name) const { return (_path / name).string(); }

private:
    std::filesystem::path _path;
};

std::vector<std::uint8_t> cdpOf(FrameRate rate, std::uint16_t counter, std::uint8_t first, std::uint8_t second) {
    qlx::cc::Cdp cdp;
    cdp.setFrameRate(rate);
    cdp.setSequenceCounter(counter);
    const std::array triplets{qlx::cc::Triplet::make(qlx::cc::CcType::Field1, first, second)};
    require(cdp.setTriplets(triplets).hasValue());
    const auto bytes = qlx::cc::writeCdp(cdp);
    require(bytes.hasValue());
    return {bytes->begin(), bytes->end()};
}

/// Frames of packets from arbitrary bytes: four of each packet.
std::vector<Frame> framesOf(qlxfuzz::Input& input, FrameRate rate) {
    std::vector<Frame> frames(1);
    while (!input.empty()) {
        const std::uint8_t what = input.takeByte();
        const std::uint8_t where = input.takeByte();
        const std::uint8_t first = input.takeByte();
        const std::uint8_t second = input.takeByte();
        if (what >= 0x80) {
            // A new frame, behind the last one or in front of it.
            const std::uint64_t last = frames.back().number;
            frames.emplace_back().number = what == 0xFF   ? last + kMuchTooFar
                                           : what >= 0xF8 ? last - std::min<std::uint64_t>(last, where)
                                           : what >= 0xF0 ? last + where
                                                          : last + 1 + where % 3;
            continue;
        }
        qlx::anc::Packet packet;
        const qlx::anc::PacketId id = kIds[what % kIds.size()];
        packet.did = id.did;
        packet.sdid = id.sdid;
        packet.line = where;
        packet.channel = where % 2 == 0 ? qlx::anc::Channel::Luma : qlx::anc::Channel::Chroma;
        packet.userData = id == qlx::anc::ids::kCdp
                              ? cdpOf(rate, static_cast<std::uint16_t>(frames.size()), first, second)
                              : std::vector{first, second};
        frames.back().packets.push_back(std::move(packet));
    }
    return frames;
}

std::vector<Frame> read(const std::string& file) {
    qlx::tool::InputFile source(file);
    qlx::tool::FrameSourceOptions options;
    options.kind = qlx::tool::InputKind::Jsonl;
    const auto reader = qlx::tool::openFrames(source, options);
    std::vector<Frame> frames;
    std::vector<qlx::tool::FrameProblem> problems;
    for (Frame frame; reader->next(frame, problems);) {
        frames.push_back(frame);
    }
    require(problems.empty());
    return frames;
}

/// The packets that go out once, with how often they are there.
std::map<std::string, int> counted(const std::vector<Frame>& frames) {
    std::map<std::string, int> counts;
    for (const Frame& frame : frames) {
        for (const qlx::anc::Packet& packet : frame.packets) {
            if (packet.id() != qlx::anc::ids::kCdp && rateUseOf(packet.id()) == qlx::anc::RateUse::Once) {
                std::string key{static_cast<char>(packet.did), static_cast<char>(packet.line),
                                static_cast<char>(packet.channel)};
                ++counts[key.append(packet.userData.begin(), packet.userData.end())];
            }
        }
    }
    return counts;
}

void check(const std::vector<Frame>& in, const std::vector<Frame>& out, FrameRate from, FrameRate to) {
    std::uint64_t last = 0;
    for (const Frame& frame : in) {
        last = std::max(last, frame.number);
    }
    for (std::size_t number = 0; number < out.size(); ++number) {
        require(out[number].number == number);
        for (const qlx::anc::Packet& packet : out[number].packets) {
            require(packet.id() != qlx::anc::ids::kCdp || qlx::cc::parseCdp(packet.userData).hasValue());
            require(from == to || packet.id() != qlx::anc::ids::kPayloadIdentifier);
        }
    }
    require(out.size() >= qlx::firstFrameAtOrAfter(from, last + 1, to));
    require(counted(in) == counted(out));
}

}  // namespace

// The rates, then packets and new frames.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Folder folder;
    constexpr std::size_t kMostBytes = 400;
    qlxfuzz::Input input(data, std::min(size, kMostBytes));
    const std::uint8_t rates = input.takeByte();
    const std::size_t from = rates % 8;
    const std::size_t to = rates / 8 % 8;
    const std::vector<Frame> frames = framesOf(input, qlx::kFrameRates[from]);
    {
        std::ofstream file(folder.file("in.jsonl"), std::ios::binary);
        for (const Frame& frame : frames) {
            std::string line;
            qlx::streams::appendJsonLine(line, frame);
            file << line << '\n';
        }
    }
    qlx::tool::RateChangeOptions options;
    options.file = folder.file("in.jsonl");
    options.output = folder.file("out.jsonl");
    options.from = qlx::tool::kRates[from];
    options.to = qlx::tool::kRates[to];
    options.frames.format = qlx::tool::FrameFormat::Jsonl;
    qlx::tool::setQuiet(true);
    std::uint64_t last = 0;
    bool isRefused = false;
    for (const Frame& frame : frames) {
        isRefused |= frame.number >= last + kTooFar;
        last = std::max(last, frame.number);
    }
    try {
        require(qlx::tool::changeRate(options) == 0 && !isRefused);
        check(frames, read(options.output), qlx::kFrameRates[from], qlx::kFrameRates[to]);
    } catch (const qlx::tool::Failure& failure) {
        require(isRefused &&
                std::string_view(failure.what()).find(": more than an hour is missing") != std::string::npos);
    }
    return 0;
}
