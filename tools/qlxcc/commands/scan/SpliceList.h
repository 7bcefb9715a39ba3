// The splice information of a transport stream, for qlxcc scan.
#pragma once

#include "io/InputFile.h"
#include "io/OutputFile.h"
#include "streams/SplicePoints.h"

#include <qlx/streams/splice.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <set>
#include <span>
#include <string>
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
    /// Says how much more of what was wrong there was than has been said; again it does nothing.
    /// @param saysTables Says what is wrong with the stream's tables too: nobody who reads its frames does.
    void close(bool saysTables);

    /// Lines behind a title: where and when each section came, how often, what it says, when it splices and how long after.
    /// Nothing where there is none.
    void write(OutputFile& output) const;

    /// The same as a line of JSON, an object with `"schema":"qlxcc/splices/1"`.
    void writeJson(OutputFile& output) const;

    /// What follows from the sections.
    void takePoints(SplicePoints& points) const;

    [[nodiscard]] bool hasEnded() const noexcept { return _hasEnded; }
    [[nodiscard]] bool isEmpty() const noexcept { return _sections.empty(); }

    /// How many lines said what is wrong with the stream's splice information; known behind close().
    [[nodiscard]] std::uint64_t problems() const noexcept { return _problems; }

private:
    /// A section, and how often it came.
    struct Counted {
        streams::SpliceArrival arrival;
        std::uint64_t count = 1;
    };
    /// By PID and bytes.
    struct ByContent {
        bool operator()(const Counted* left, const Counted* right) const noexcept;
    };
    struct Reading;

    /// More than days of a stream have; a file of nothing else could fill all memory.
    static constexpr std::size_t kMostSections = 100'000;
    static constexpr std::size_t kMostBytes = std::size_t{32} << 20U;

    void take();
    [[nodiscard]] static streams::SpliceArrival whole(const Counted& one);

    const InputFile& _source;
    std::unique_ptr<Reading> _reading;  ///< None behind close().
    bool _hasEnded = false;
    std::deque<Counted> _sections;         ///< Without what they say.
    std::set<Counted*, ByContent> _known;  ///< The same.
    std::size_t _bytes = 0;                ///< Of them.
    std::uint64_t _leftOut = 0;
    std::uint64_t _problems = 0;
};

}  // namespace qlx::tool
