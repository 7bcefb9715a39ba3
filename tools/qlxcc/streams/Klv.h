// Files of SMPTE ST 336 triplets (key, length, value) that carry SMPTE ST 436-1 ANC frame elements, one a frame.
#pragma once

#include "io/InputFile.h"
#include "io/OutputFile.h"
#include "streams/Frame.h"

#include <qlx/base/finding.h>
#include <qlx/klv/klv.h>

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace qlx::tool {

/// Adds the packets of an ANC frame element's value to a frame; those that cannot be used are passed over.
/// @param place Where the element is, for messages.
/// @param problems Gets a line for everything that is wrong with it.
/// @param remarks Gets a line for what only needs a look; may be null.
void readAncFrameElement(std::span<const std::uint8_t> element, const std::string& place, Frame& frame,
                         std::vector<std::string>& problems, std::vector<std::string>* remarks = nullptr);

/// Reads triplets; the n-th ANC frame element is frame n, triplets with other keys are passed over. Behind damage it
/// goes on with the next triplet that leads to another one: what was skipped is a problem.
class KlvReader final : public FrameReader {
public:
    /// @param source Read from where it stands; must outlive the reader.
    explicit KlvReader(ByteSource& source) : _source(source), _start(source.offset()), _reader({}, &_findings) {}

    bool next(Frame& frame, std::vector<std::string>& problems) override;
    [[nodiscard]] std::vector<std::string> takeRemarks() override { return std::exchange(_remarks, {}); }

private:
    void fill();
    void report(std::vector<std::string>& problems);
    [[noreturn]] void throwCut(const Finding& finding) const;

    ByteSource& _source;
    std::uint64_t _start;
    Findings _findings;
    klv::Reader _reader;
    std::vector<std::uint8_t> _piece;
    std::vector<std::string> _remarks;
    std::uint64_t _frames = 0;
    bool _isAtEnd = false;
};

/// Writes a triplet a frame: the ANC frame element key, the length as 83 and three bytes, the frame's element.
class KlvWriter final : public FrameWriter {
public:
    /// @param asDeployed Whether the elements are those of the fixed operation, which has all packets in luma.
    explicit KlvWriter(OutputFile& output, bool asDeployed = false) : _output(output), _asDeployed(asDeployed) {}

    /// @throws Failure when an element has no place for a packet, or for so many.
    void write(const Frame& frame) override;

private:
    [[nodiscard]] Data elementOf(const Frame& frame) const;

    OutputFile& _output;
    bool _asDeployed;
};

}  // namespace qlx::tool
