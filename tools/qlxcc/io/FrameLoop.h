// Going through a file's frames and saying what could not be read.
#pragma once

#include "io/Frame.h"
#include "io/FrameInput.h"
#include "io/InputFile.h"
#include "io/OutputFile.h"

#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::tool {

class Progress;

/// How much of a file of frames is wrong.
struct FrameProblems {
    std::uint64_t all = 0;
    std::uint64_t lost = 0;  ///< Those of them that say that something could not be read.
};

/// Hands on every frame of a file, with progress on a terminal. The first ten problems of a kind get a line each on
/// standard error, behind what has been written for the frames before it; the others are counted in the end.
/// @param take Returns false when it needs no further frame.
/// @throws Failure when the file is broken; what was found before goes to standard output all the same.
FrameProblems readFrames(NamedSource& source, FrameInput& reader, OutputFile& output,
                         const std::function<bool(const Frame&)>& take);

/// Says what needs a look in a file: the first ten remarks, and in the end how many more there were.
class RemarkNotes {
public:
    /// @param saysAll Not ten.
    explicit RemarkNotes(const NamedSource& source, bool saysAll = false)
        : _source(source), _shown(saysAll ? std::numeric_limits<std::uint64_t>::max() : kShown) {}

    void say(const std::vector<std::string>& remarks);
    /// The same of problems, which are said even where only these are wanted.
    void sayProblems(const std::vector<FrameProblem>& problems);
    [[nodiscard]] bool hasMore() const noexcept { return _count > _shown || _problemCount > _shown; }
    void sayHowManyMore() const;

private:
    static constexpr std::uint64_t kShown = 10;

    const NamedSource& _source;
    std::uint64_t _shown;
    std::uint64_t _count = 0;
    std::uint64_t _problemCount = 0;
};

/// Reads the next frame of a file that is made into another one, and says what of it cannot be read, or is wrong.
/// @return False at the end of the file.
/// @throws Failure as FrameInput::next().
[[nodiscard]] bool readNext(const NamedSource& source, FrameInput& reader, RemarkNotes& remarks, Progress& progress,
                            Frame& frame);

/// Ends the output of a file that has been read to its end. Where something is lost standard output has all the rest,
/// but a file does not appear.
/// @param what What was kept from being done: `not every packet could be read`.
/// @param writeMore Writes what stands beside the output, when that is complete; may be empty.
/// @return The exit code.
/// @throws Failure when there is more to say than the problems' own lines did.
[[nodiscard]] int finishFrames(const NamedSource& source, OutputFile& output, FrameProblems problems,
                               std::string_view what, const std::function<void()>& writeMore = {});

}  // namespace qlx::tool
