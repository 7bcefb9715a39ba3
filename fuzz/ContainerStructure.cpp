// The structure of containers, read from memory and from a pipe in pieces: whatever the bytes are, what is said lies in
// them.
#include "streams/ContainerIndex.h"
#include "streams/StreamCheck.h"

#include "FuzzSupport.h"

#include <qlx/base/finding.h>
#include <qlx/streams/byte_source.h>
#include <qlx/streams/input_kind.h>

#include <array>
#include <optional>
#include <vector>

using qlx::streams::InputKind;
using qlxfuzz::require;
namespace detail = qlx::streams::detail;

namespace {

/// Bytes that are given once.
class Pipe final : public qlx::streams::ByteSource {
public:
    explicit Pipe(std::span<const std::uint8_t> bytes) : _bytes(bytes) {}

    std::size_t read(std::span<std::uint8_t> to) override { return _bytes.read(to); }
    std::span<const std::uint8_t> peek(std::size_t count) override { return _bytes.peek(count); }
    std::uint64_t skip(std::uint64_t count) override { return _bytes.skip(count); }
    bool seek(std::uint64_t /*offset*/) override { return false; }
    [[nodiscard]] std::uint64_t offset() const override { return _bytes.offset(); }
    [[nodiscard]] std::optional<std::uint64_t> size() const override { return std::nullopt; }
    [[nodiscard]] std::optional<qlx::Finding> error() const override { return std::nullopt; }

private:
    qlx::streams::MemorySource _bytes;
};

/// Requires that findings lie in the file.
class InFile final : public qlx::FindingSink {
public:
    explicit InFile(std::size_t size) : _size(size) {}

    void add(const qlx::Finding& finding) override {
        require(finding.offset <= _size && !finding.text().empty());
        ++count;
    }
    std::size_t count = 0;

private:
    std::size_t _size;
};

void readThrough(qlx::streams::ByteSource& source, InputKind kind, std::size_t step, std::size_t size) {
    InFile findings(size);
    detail::StreamCheck check(source, kind);
    if (kind == InputKind::Mxf) {
        if (const auto missing = detail::lookForFooter(source)) {
            // The place of a footer that has moved may be anywhere in the file, and nowhere else.
            findings.add(*missing);
        }
        require(source.offset() == 0);
    }
    check.beginReading();
    std::vector<std::uint8_t> piece(step);
    std::vector<std::uint8_t> tail;
    for (;;) {
        const std::uint64_t place = source.offset();
        const std::size_t got = source.read(piece);
        if (got == 0) {
            break;
        }
        tail.assign(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(got));
        check.take(place, tail);
        check.report(findings);
    }
    if (const auto end = check.wrongEnd(tail)) {
        findings.add(*end);
    }
    require(findings.count <= size + 3);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    // The first byte says how much is read at once.
    const std::size_t step = 1 + data[0] % 64;
    const std::vector<std::uint8_t> bytes(data + 1, data + size);
    constexpr std::array kKinds{InputKind::Mxf,           InputKind::Mov, InputKind::TransportStream,
                                InputKind::ProgramStream, InputKind::Mkv, InputKind::Flv};
    for (const InputKind kind : kKinds) {
        qlx::streams::MemorySource whole(bytes);
        readThrough(whole, kind, step, bytes.size());
        Pipe pipe(bytes);
        readThrough(pipe, kind, step, bytes.size());
    }
    (void)detail::isIndexBehindMedia(bytes);
    return 0;
}
