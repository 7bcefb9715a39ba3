// Arbitrary bytes as a stream of KLV triplets: pieces make no difference, all bytes are given or told, and what is read
// without a finding is written to the same bytes. Partition packs as well.
#include <qlx/klv/klv.h>
#include <qlx/klv/partition.h>

#include "FuzzSupport.h"

#include <algorithm>

using qlx::FindingCode;
using qlxfuzz::require;

namespace {

struct Found {
    std::vector<std::uint8_t> written;
    std::vector<qlx::Finding> findings;
    std::uint64_t bytes = 0;  ///< Of triplets, of what was skipped and of what is cut.
};

void readPartition(std::span<const std::uint8_t> value) {
    qlx::Findings findings;
    const auto pack = qlx::klv::parsePartitionPack(value, &findings);
    require(pack.hasValue() == (value.size() >= qlx::klv::partitionPackSize()));
    if (pack) {
        const qlx::Data written = writePartitionPack(*pack);
        require(!findings.empty() || std::equal(written.begin(), written.end(), value.begin(), value.end()));
        require(*qlx::klv::parsePartitionPack(written) == *pack);
    }
}

Found read(std::span<const std::uint8_t> bytes, std::size_t piece, std::uint64_t greatestValue,
           bool isSeekable = false) {
    Found found;
    qlx::Findings findings;
    qlx::klv::ReaderOptions options{greatestValue};
    if (isSeekable) {
        options.lookAhead = [bytes](std::uint64_t place, std::span<std::uint8_t> room) {
            const auto behind = bytes.subspan(static_cast<std::size_t>(std::min<std::uint64_t>(place, bytes.size())));
            const std::size_t count = std::min(room.size(), behind.size());
            std::copy_n(behind.begin(), count, room.begin());
            return count;
        };
    }
    qlx::klv::Reader reader(options, &findings);
    const auto take = [&] {
        while (const auto triplet = reader.next()) {
            require(triplet->isValueKept == (triplet->header.length.value <= greatestValue));
            require(!triplet->isValueKept || triplet->value.size() == triplet->header.length.value);
            found.bytes += triplet->header.size() + triplet->header.length.value;
            const auto again = qlx::klv::writeTriplet(triplet->header.key, triplet->value,
                                                      triplet->isValueKept ? triplet->header.length.bytes
                                                                           : qlx::klv::kUsualLengthBytes);
            require(again.hasValue());
            found.written.insert(found.written.end(), again->begin(), again->end());
            readPartition(triplet->value);
        }
    };
    for (std::size_t done = 0; done < bytes.size(); done += piece) {
        const auto part = bytes.subspan(done, std::min(piece, bytes.size() - done));
        reader.push(std::vector<std::uint8_t>(part.begin(), part.end()));
        take();
    }
    reader.finish();
    take();
    require(reader.offset() == bytes.size());
    for (const qlx::Finding& finding : findings) {
        found.bytes += finding.code == FindingCode::KlvSkipped ? static_cast<std::uint64_t>(finding.first) : 0;
        const bool isCut = finding.code == FindingCode::KlvCut || finding.code == FindingCode::KlvValueCut;
        found.bytes += isCut ? bytes.size() - finding.offset : 0;
    }
    found.findings.assign(findings.begin(), findings.end());
    require(findings.rest() > 0 || found.bytes == bytes.size());
    return found;
}

}  // namespace

// The size of a piece, the longest value that is kept, the stream.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    const std::size_t piece = input.takeByte() + std::size_t{1};
    const std::uint64_t greatestValue = input.takeByte();
    const std::vector<std::uint8_t> bytes = input.rest();
    const Found whole = read(bytes, bytes.size() + 1, 1000);
    const Found inPieces = read(bytes, piece, 1000);
    require(whole.written == inPieces.written && whole.findings == inPieces.findings);
    require(!whole.findings.empty() || whole.written == bytes);
    for (const bool isSeekable : {false, true}) {
        const Found small = read(bytes, bytes.size() + 1, greatestValue, isSeekable);
        const Found smallInPieces = read(bytes, piece, greatestValue, isSeekable);
        require(small.written == smallInPieces.written && small.findings == smallInPieces.findings);
    }
    return 0;
}
