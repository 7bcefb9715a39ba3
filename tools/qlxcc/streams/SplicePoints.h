// The splice points of messages of SCTE 104 and sections of SCTE 35, in their order, and what follows from them.
#pragma once

#include <qlx/scte/scte104.h>
#include <qlx/scte/scte35.h>

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace qlx::tool {

/// Takes the messages of a file one after the other.
///
///     SplicePoints points;
///     points.take("frame 0, line 13", message);
///     for (const std::string& line : points.lines()) { .. }
class SplicePoints {
public:
    /// @param place Where the message is: `frame 0, line 13`.
    void take(const std::string& place, const scte::MultipleOperationMessage& message);

    /// The same of a section of SCTE 35.
    void take(const std::string& place, const scte::SpliceInfoSection& section);

    /// A line each: `frame 0, line 13: event 1 out in 4000 ms, for 30.0 s, returns by itself`; and behind them those of
    /// pairs that miss their other half: `event 1: out without in`, and of programs that were ended early
    /// (ANSI/SCTE 35, table 23). A duration of 0 ends nothing.
    [[nodiscard]] std::vector<std::string> lines() const;

private:
    enum class Kind : std::uint8_t { Splice, Segment };

    /// What an event or segment is told by.
    struct Key {
        Kind kind = Kind::Splice;
        std::uint32_t eventId = 0;
        std::uint8_t typeId = 0;  ///< Of a segment's start.

        friend bool operator<(const Key& left, const Key& right) {
            return std::tie(left.kind, left.eventId, left.typeId) < std::tie(right.kind, right.eventId, right.typeId);
        }
    };

    struct Open {
        std::size_t order = 0;
        std::string name;
    };

    void add(std::string line) { _lines.push_back(std::move(line)); }
    void open(const Key& key, std::string name, bool endsByItself);
    void close(const Key& key, const std::string& name);
    /// A splice as both standards have it.
    struct Splice {
        std::uint32_t eventId = 0;
        bool isOut = false;
        std::string when;      ///< ` in 4000 ms`, ` at once`.
        std::string duration;  ///< Empty where there is none.
        bool returnsAlone = false;
        bool isTimed = false;  ///< Its duration is not 0.
    };

    void addSplice(const std::string& place, const Splice& splice);
    void cancelSplice(const std::string& place, std::uint32_t eventId);
    void addSegment(const std::string& place, std::uint32_t eventId, std::uint8_t typeId, const std::string& duration,
                    bool isTimed);
    void endEarly(std::uint32_t eventId, const std::string& name);
    void cancelSegment(const std::string& place, std::uint32_t eventId);
    void takeInsert(const std::string& place, const scte::SpliceInsert& insert, std::uint64_t adjustment90k);
    void takeSplice(const std::string& place, const scte::SpliceRequest& request);
    void takeSegment(const std::string& place, const scte::InsertSegmentationDescriptorRequest& request);

    std::vector<std::string> _lines;
    std::vector<std::string> _alone;  ///< Ends without a start, and starts that were ended early.
    std::map<Key, Open> _open;
    std::map<Key, std::string> _timed;  ///< Starts that end by themselves, and may have an end all the same.
    std::set<Key> _ended;               ///< Of which an end was the last that came.
    std::size_t _opened = 0;
};

}  // namespace qlx::tool
