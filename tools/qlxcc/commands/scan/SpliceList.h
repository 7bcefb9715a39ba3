// The splice information of a transport stream, for qlxcc scan.
#pragma once

#include "io/OutputFile.h"
#include "streams/SplicePoints.h"

#include <qlx/streams/splice.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace qlx::tool {

/// Reads a file whole and keeps each section once.
class SpliceList {
public:
    /// @param file A transport stream; `-` has none, as it is read for its frames.
    /// @param pids With sections, whatever the tables say of them.
    /// @throws Failure when the file cannot be read.
    SpliceList(const std::string& file, const std::vector<std::uint16_t>& pids);

    /// Lines behind a title: where and when each section came, how often, what it says, when it splices and how long after.
    /// Nothing where there is none.
    void write(OutputFile& output) const;

    /// What follows from the sections.
    void takePoints(SplicePoints& points) const;

    [[nodiscard]] bool isEmpty() const noexcept { return _sections.empty(); }

    /// How many lines said what is wrong with the stream's splice information.
    [[nodiscard]] std::uint64_t problems() const noexcept { return _problems; }

private:
    /// A section, and how often it came.
    struct Counted {
        streams::SpliceArrival arrival;
        std::uint64_t count = 1;
    };

    /// More than days of a stream have; a file of nothing else could fill all memory.
    static constexpr std::size_t kMostSections = 100'000;

    void take(streams::SpliceReader& reader);

    std::vector<Counted> _sections;
    std::map<std::pair<std::uint16_t, std::vector<std::uint8_t>>, std::size_t> _known;  ///< By PID and bytes.
    std::uint64_t _leftOut = 0;
    std::uint64_t _problems = 0;
};

}  // namespace qlx::tool
