#include "commands/play/Play.h"

#include "commands/play/Playout.h"
#include "cues/CaptionFrames.h"
#include "io/Errors.h"
#include "io/FrameOutput.h"
#include "io/Progress.h"
#include "io/Text.h"

#include <cstdint>
#include <memory>
#include <string>

namespace qlx::tool {

namespace {

std::unique_ptr<Playout> makePlayout(const PlayOptions& options) {
    if (options.asDeployed) {
        return makeDeployedPlayout(options);
    }
    return options.mode == PlayMode::Teletext ? makeTeletextPlayout(options) : makeCaptionPlayout(options);
}

std::unique_ptr<FrameWriter> makeWriter(const PlayOptions& options, Playout& playout, OutputFile& output,
                                        const std::shared_ptr<LeftOut>& leftOut) {
    FrameOutputOptions frames;
    switch (options.format) {
    case PlayFormat::V210:
        frames.format = FrameFormat::V210;
        frames.form = options.rowForm;
        frames.layout.width = options.width;
        frames.layout.lines = playout.lines();
        return makeFrameFile(output, frames);
    case PlayFormat::Klv:
        frames.format = FrameFormat::Klv;
        frames.form = options.rowForm;
        return makeFrameFile(output, frames);
    case PlayFormat::Jsonl:
        frames.format = FrameFormat::Jsonl;
        return makeFrameFile(output, frames);
    case PlayFormat::Scc:
        frames.format = FrameFormat::Scc;
        frames.scc.field = options.captions.channel.field == 2 ? cc::CcType::Field2 : cc::CcType::Field1;
        frames.scc.dropsFrames = options.isDropFrame;
        return makeFrameFile(output, frames);
    case PlayFormat::Mcc:
        frames.format = FrameFormat::Mcc;
        frames.mcc = options.mcc;
        return makeFrameWriter(output, frames, leftOut);
    case PlayFormat::A53:
        return std::make_unique<A53Writer>(output);
    case PlayFormat::TransportStream:
        frames.format = FrameFormat::TransportStream;
        frames.transport = options.transport;
        return makeFrameWriter(output, frames, leftOut);
    case PlayFormat::Schedule:
        break;
    }
    return playout.makeSchedule(output);
}

/// Says where the timecodes of an MCC file begin again.
/// @return Whether they do.
bool saysMidnight(const PlayOptions& options, std::uint64_t last, const std::string& name) {
    FrameOutputOptions frames;
    frames.format = FrameFormat::Mcc;
    frames.mcc = options.mcc;
    if (options.format != PlayFormat::Mcc || !isBehindMidnight(last, frames)) {
        return false;
    }
    printNote("warning: " + name + ": timecodes begin again at 00:00:00:00 behind midnight");
    return true;
}

}  // namespace

int play(const PlayOptions& options) {
    refuseInputAsOutput(options.subtitles, options.output);
    for (const TeletextPlayOptions::Page& page : options.teletext.pages) {
        refuseInputAsOutput(page.subtitles, options.output);
    }
    const auto playout = makePlayout(options);
    OutputFile output(options.output);
    const auto leftOut = std::make_shared<LeftOut>(output.name());
    const auto writer = makeWriter(options, *playout, output, leftOut);
    const FrameRange range = playout->range();
    Progress progress(range.end - range.first, output.isStandardOutput());
    // What comes late is not cut off where nobody has asked for an end.
    const auto isMore = [&](std::uint64_t number) {
        return number < range.end || (!options.durationSeconds && !playout->isDone());
    };
    std::uint64_t number = range.first;
    for (; isMore(number); ++number) {
        writer->write(playout->next(number, options.rate.timeOfFrame(number)));
        const std::uint64_t done = number + 1 - range.first;
        progress.update(done, done);
    }
    writer->finish();
    progress.clear();
    playout->finish();
    if (number > range.end) {
        printNote("remark: " + output.name() + ": " + counted(number - range.end, "more frame") +
                  " for cues that are late");
    }
    const bool isOverMidnight = number > range.first && saysMidnight(options, number - 1, output.name());
    output.commit();
    const bool isLossy = playout->isLossy() || !leftOut->isEmpty() || isOverMidnight;
    const bool hasFailed = playout->isDamaged() || (options.isStrict && isLossy);
    if (hasFailed) {
        printWhyItFails(output.name(), std::string(playout->isDamaged() ? "problems" : "") +
                                           (playout->isDamaged() && isLossy ? ", " : "") +
                                           (isLossy ? "changes or losses" : ""));
    }
    return hasFailed ? kExitFailure : kExitSuccess;
}

}  // namespace qlx::tool
