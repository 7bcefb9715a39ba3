// What is said of a file's caption packets, and of their counters.
#pragma once

#include "io/FindingNotes.h"
#include "io/Frame.h"
#include "io/InputFile.h"
#include "io/OutputFile.h"
#include "io/Progress.h"

#include <qlx/base/finding.h>
#include <qlx/streams/captions.h>

#include <cstdint>
#include <optional>
#include <string>

namespace qlx::tool {

/// Says where the counters of CDPs jump or stand still, and what else is found in the packets of the frame that it took
/// last, behind what is written of the frames before.
class CounterNotes final : public FindingSink {
public:
    CounterNotes(const InputFile& source, OutputFile& output)
        : _output(output), _progress(std::nullopt, true), _notes(source.name(), _progress) {}

    void take(const Frame& frame) {
        _frame = frame.number;
        _counters.receive(frame, this);
    }

    /// The offset is the line of the packet.
    void add(const Finding& finding) override {
        if (_output.isStandardOutput() && _notes.prints(finding)) {
            _output.flush();
        }
        // Those of a track have no line.
        _notes.setPlace(finding.offset > 0 ? placeOf(_frame, finding.offset) : "frame " + std::to_string(_frame));
        _notes.add(finding);
    }

    void finish() { _notes.finish(); }

private:
    OutputFile& _output;
    Progress _progress;  ///< Of no run of its own: readFrames() has one.
    FindingNotes _notes;
    streams::CdpCounters _counters;
    std::uint64_t _frame = 0;
};

}  // namespace qlx::tool
