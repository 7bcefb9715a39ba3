// The splice information of a transport stream, for qlxcc scan.
#pragma once

#include "io/InputFile.h"
#include "io/OutputFile.h"
#include "streams/SplicePoints.h"

#include <qlx/streams/splice.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace qlx::tool {

/// Takes a stream piece by piece and keeps each section once.
class SpliceList {
public:
    /// @param source Named in messages; must outlive this.
    /// @param pids With sections, whatever the tables say of them.
    SpliceList(const InputFile& source, const std::vector<std::uint16_t>& pids);
    SpliceList(const SpliceList&) = delete;
    SpliceList& operator=(const SpliceList&) = delete;
    ~SpliceList();

    /// Takes a whole file, if packets begin among its first bytes: who reads the frames refuses any other as well.
    /// @throws Failure when it cannot be read.
    void readFile(const std::string& file);

    /// Takes the next bytes.
    void push(std::span<const std::uint8_t> bytes);
    /// Says that the stream has ended; again it does nothing.
    void finish();

    /// Lines behind a title: where and when each section came, how often, what it says, when it splices and how long after.
    /// Nothing where there is none.
    void write(OutputFile& output) const;

    /// The same as a line of JSON, an object with `"schema":"qlxcc/splices/1"`.
    void writeJson(OutputFile& output) const;

    /// What follows from the sections.
    void takePoints(SplicePoints& points) const;

    [[nodiscard]] bool hasEnded() const noexcept { return _reading == nullptr; }
    [[nodiscard]] bool isEmpty() const noexcept { return _sections.empty(); }

    /// How many lines said what is wrong with the stream's splice information.
    [[nodiscard]] std::uint64_t problems() const noexcept { return _problems; }

private:
    /// A section, and how often it came.
    struct Counted {
        streams::SpliceArrival arrival;
        std::uint64_t count = 1;
    };
    struct Reading;

    /// More than days of a stream have; a file of nothing else could fill all memory.
    static constexpr std::size_t kMostSections = 100'000;

    void take();

    const InputFile& _source;
    std::unique_ptr<Reading> _reading;  ///< None behind the end.
    std::vector<Counted> _sections;
    std::map<std::pair<std::uint16_t, std::vector<std::uint8_t>>, std::size_t> _known;  ///< By PID and bytes.
    std::uint64_t _leftOut = 0;
    std::uint64_t _problems = 0;
};

}  // namespace qlx::tool
