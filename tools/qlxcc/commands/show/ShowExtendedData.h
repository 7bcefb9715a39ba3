// The extended data (XDS) of field 2 as they change.
#pragma once

#include "io/Frame.h"

#include <qlx/base/finding.h>
#include <qlx/cea608/xds.h>
#include <qlx/streams/captions.h>

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace qlx::tool {

/// A packet that says something new, and the frame in which it was complete.
struct ExtendedDatum {
    cea608::XdsPacket packet;
    MediaTime since;
    std::uint64_t sinceFrame = 0;
};

/// Keeps the last packet of each class and type.
class ExtendedDataReader {
public:
    explicit ExtendedDataReader(bool ignoresParity) : _reader({.ignoresParity = ignoresParity}) {}

    /// What is new with a frame, which has a time; a packet whose bytes are none of its type is a finding then.
    [[nodiscard]] std::vector<ExtendedDatum> receive(const Frame& frame, FindingSink* findings);

    /// The stream is over: a packet without an end is a finding.
    void finish(FindingSink* findings) { _reader.finish(findings); }

    /// What was said last, by class and type.
    [[nodiscard]] std::vector<ExtendedDatum> current() const;

private:
    cea608::XdsReader _reader;
    streams::CdpCounters _counters;
    std::map<std::pair<cea608::XdsClass, std::uint8_t>, ExtendedDatum> _last;
};

}  // namespace qlx::tool
