// Delivery of the asynchronous reader, and properties that several threads use at once.
#include "MemoryFiles.h"
#include "STLFile.h"
#include "SubtitleStates.h"

#include <QLXClosedCaptionsUtilities/QLXSRTFileReader.h>
#include <QLXClosedCaptionsUtilities/QLXSTLFileReader.h>

#include <gtest/gtest.h>

#include <atomic>
#include <new>
#include <thread>

namespace {

using qlxtest::LineState;
using qlxtest::RecordState;
using Records = std::vector<RecordState>;
using ReaderResult = std::vector<std::shared_ptr<QLXSubtitleRecord>>;

constexpr const char* kFile = "1\n00:00:10,000 --> 00:00:12,000\nHello\n";

Records expectedRecords() {
    return {RecordState{1, 0, true, 10.0, 12.0, {LineState{.text = "Hello", .row = 11}}}};
}

void readInBackground(std::string path, std::function<void(ReaderResult)> handler) {
    QLXSRTFileReader::subtitleRecordsFromSRTFileAtPath_subtitleMode_frameDuration_withCompletionHandler(
        std::move(path), 2, 0.04, std::move(handler));
}

/// Holds tasks back until the test runs them, on a thread of its own.
class HeldQueue final : public qlx::BackgroundQueue {
public:
    void async(qlx::Task task) override { _tasks.push_back(std::move(task)); }

    std::size_t runAll() {
        const std::size_t count = _tasks.size();
        std::thread([this] {
            for (qlx::Task& task : _tasks) {
                task();
            }
            _tasks.clear();
        }).join();
        return count;
    }

private:
    std::vector<qlx::Task> _tasks;
};

TEST(QLXSRTFileReaderAsync, DeliversOnTheMainQueue) {
    qlxtest::MemoryFiles files;
    files.add("a.srt", kFile);
    qlx::MainQueue mainQueue;
    const qlx::ScopedService<qlx::MainQueue> service(mainQueue);
    Records received;
    std::thread::id thread;
    readInBackground("a.srt", [&](const ReaderResult& records) {
        received = qlxtest::statesOf(records);
        thread = std::this_thread::get_id();
        mainQueue.stop();
    });
    EXPECT_EQ(received, Records{});
    mainQueue.run();
    EXPECT_EQ(received, expectedRecords());
    EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST(QLXSRTFileReaderAsync, ReadsOnTheBackgroundQueueAndThenWaitsForTheMainQueue) {
    qlxtest::MemoryFiles files;
    HeldQueue background;
    const qlx::ScopedService<qlx::BackgroundQueue> backgroundService(background);
    qlx::MainQueue mainQueue;
    const qlx::ScopedService<qlx::MainQueue> mainService(mainQueue);
    int calls = 0;
    Records received;
    auto owned = std::make_shared<int>(0);
    const std::weak_ptr<int> handlerLives = owned;
    readInBackground("a.srt", [&, owned = std::move(owned)](const ReaderResult& records) {
        ++calls;
        received = qlxtest::statesOf(records);
    });
    EXPECT_EQ(mainQueue.drain(), 0U);
    // The file is not read before the background queue gets to it.
    files.add("a.srt", kFile);
    EXPECT_EQ(background.runAll(), 1U);
    EXPECT_EQ(calls, 0);
    EXPECT_FALSE(handlerLives.expired());
    EXPECT_EQ(mainQueue.drain(), 1U);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(received, expectedRecords());
    EXPECT_TRUE(handlerLives.expired());
}

TEST(AsyncReaders, DeliverAnEmptyArrayWhenMemoryRunsOut) {
    class HugeFiles : public qlx::FileReader {
    public:
        qlx::Data contentsOfFile(const std::string& /*path*/) override { throw std::bad_alloc(); }
    } files;
    const qlx::ScopedService<qlx::FileReader> filesService(files);
    HeldQueue background;
    const qlx::ScopedService<qlx::BackgroundQueue> backgroundService(background);
    qlx::MainQueue mainQueue;
    const qlx::ScopedService<qlx::MainQueue> mainService(mainQueue);
    int calls = 0;
    const auto handler = [&](const ReaderResult& records) {
        EXPECT_TRUE(records.empty());
        ++calls;
    };
    readInBackground("a.srt", handler);
    QLXSTLFileReader::subtitleRecordsFromSTLFileAtPath_withCompletionHandler("a.stl", handler);
    EXPECT_EQ(background.runAll(), 2U);
    EXPECT_EQ(mainQueue.drain(), 2U);
    EXPECT_EQ(calls, 2);
}

TEST(QLXSRTFileReaderAsync, DeliversAnEmptyArrayForAMissingFile) {
    const qlxtest::MemoryFiles files;
    qlx::MainQueue mainQueue;
    const qlx::ScopedService<qlx::MainQueue> service(mainQueue);
    std::optional<ReaderResult> received;
    readInBackground("missing.srt", [&](ReaderResult records) {
        received = std::move(records);
        mainQueue.stop();
    });
    mainQueue.run();
    EXPECT_EQ(received, ReaderResult{});
}

TEST(QLXSRTFileReaderAsync, ToleratesAnEmptyHandler) {
    const qlxtest::MemoryFiles files;
    HeldQueue background;
    const qlx::ScopedService<qlx::BackgroundQueue> backgroundService(background);
    qlx::MainQueue mainQueue;
    const qlx::ScopedService<qlx::MainQueue> mainService(mainQueue);
    readInBackground("a.srt", nullptr);
    background.runAll();
    EXPECT_EQ(mainQueue.drain(), 0U);
}

TEST(QLXSRTFileReaderAsync, ReadsManyFilesAtOnce) {
    constexpr int kCount = 50;
    qlxtest::MemoryFiles files;
    files.add("a.srt", kFile);
    qlx::MainQueue mainQueue;
    const qlx::ScopedService<qlx::MainQueue> service(mainQueue);
    int calls = 0;
    for (int call = 0; call < kCount; ++call) {
        readInBackground("a.srt", [&](const ReaderResult& records) {
            EXPECT_EQ(qlxtest::statesOf(records), expectedRecords());
            if (++calls == kCount) {
                mainQueue.stop();
            }
        });
    }
    mainQueue.run();
    EXPECT_EQ(calls, kCount);
}

std::string stlFileWithOneBlock() {
    return qlxtest::stlFile(
        {{.text = qlxtest::stlText({'H', 'i', 0x8F}), .number = 7, .in = {0, 0, 10, 0}, .out = {0, 0, 12, 0}}});
}

Records expectedSTLRecords() {
    return {RecordState{7, 0, true, 10.0, 12.0, {LineState{.text = "Hi", .row = 9}}}};
}

void readSTLInBackground(std::string path, std::function<void(ReaderResult)> handler) {
    QLXSTLFileReader::subtitleRecordsFromSTLFileAtPath_withCompletionHandler(std::move(path), std::move(handler));
}

TEST(QLXSTLFileReaderAsync, DeliversOnTheMainQueue) {
    qlxtest::MemoryFiles files;
    files.add("a.stl", stlFileWithOneBlock());
    qlx::MainQueue mainQueue;
    const qlx::ScopedService<qlx::MainQueue> service(mainQueue);
    Records received;
    std::thread::id thread;
    readSTLInBackground("a.stl", [&](const ReaderResult& records) {
        received = qlxtest::statesOf(records);
        thread = std::this_thread::get_id();
        mainQueue.stop();
    });
    EXPECT_EQ(received, Records{});
    mainQueue.run();
    EXPECT_EQ(received, expectedSTLRecords());
    EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST(QLXSTLFileReaderAsync, ReadsOnAQueueOfItsOwnAndThenWaitsForTheMainQueue) {
    qlxtest::MemoryFiles files;
    HeldQueue background;
    const qlx::ScopedService<qlx::BackgroundQueue> backgroundService(background);
    qlx::MainQueue mainQueue;
    const qlx::ScopedService<qlx::MainQueue> mainService(mainQueue);
    std::vector<Records> received;
    auto owned = std::make_shared<int>(0);
    const std::weak_ptr<int> handlerLives = owned;
    const auto take = [&received](const ReaderResult& records) { received.push_back(qlxtest::statesOf(records)); };
    readSTLInBackground("a.stl", [take, owned = std::move(owned)](const ReaderResult& records) { take(records); });
    readSTLInBackground("missing.stl", take);
    EXPECT_EQ(mainQueue.drain(), 0U);
    // The file is not read before the queue gets to it.
    files.add("a.stl", stlFileWithOneBlock());
    EXPECT_EQ(background.runAll(), 2U);  // two queues
    EXPECT_TRUE(received.empty());
    EXPECT_FALSE(handlerLives.expired());
    EXPECT_EQ(mainQueue.drain(), 2U);
    EXPECT_EQ(received, (std::vector<Records>{expectedSTLRecords(), Records{}}));
    EXPECT_TRUE(handlerLives.expired());
}

TEST(QLXSTLFileReaderAsync, ReadsNothingWithoutAHandler) {
    HeldQueue background;
    const qlx::ScopedService<qlx::BackgroundQueue> backgroundService(background);
    readSTLInBackground("a.stl", nullptr);
    EXPECT_EQ(background.runAll(), 0U);
}

TEST(QLXSTLFileReaderAsync, ReadsManyFilesAtOnce) {
    constexpr int kCount = 50;
    qlxtest::MemoryFiles files;
    files.add("a.stl", stlFileWithOneBlock());
    qlx::MainQueue mainQueue;
    const qlx::ScopedService<qlx::MainQueue> service(mainQueue);
    int calls = 0;
    for (int call = 0; call < kCount; ++call) {
        readSTLInBackground("a.stl", [&](const ReaderResult& records) {
            EXPECT_EQ(qlxtest::statesOf(records), expectedSTLRecords());
            if (++calls == kCount) {
                mainQueue.stop();
            }
        });
    }
    mainQueue.run();
    EXPECT_EQ(calls, kCount);
}

/// Runs `write` and `read` side by side, many times each.
template <class Write, class Read>
void race(Write write, Read read) {
    constexpr int kRounds = 5000;
    std::thread writer([&] {
        for (int round = 0; round < kRounds; ++round) {
            write(round);
        }
    });
    for (int round = 0; round < kRounds; ++round) {
        read();
    }
    writer.join();
}

TEST(QLXSubtitleTextLineThreads, ReadsEveryPropertyWhole) {
    const std::string one(40, 'a');
    const std::string other(60, 'b');
    QLXSubtitleTextLine line;
    line.setTextString(one);
    int torn = 0;
    race(
        [&](int round) {
            line.setTextString(round % 2 == 0 ? other : one);
            line.setBold(round % 2 == 0);
            line.setUnderline(round % 2 == 0);
            line.setItalic(round % 2 == 0);
            line.setTextColor(round % 2 == 0 ? 1 : 7);
            line.setAlignment(round % 4);
            line.setPositioningType(round % 10);
            line.setVerticalPosition(round % 2 == 0 ? 0 : ~std::uint64_t{0});
            line.setColorNeedsToBeAppliedToNextLine(round % 2 == 0);
        },
        [&] {
            const LineState state = qlxtest::stateOf(line);
            const bool whole = (state.text == one || state.text == other) && (state.color == 1 || state.color == 7) &&
                               state.alignment >= 0 && state.alignment <= 3 && state.type >= 0 && state.type <= 9 &&
                               (state.row == 0 || state.row == ~std::uint64_t{0});
            torn += whole ? 0 : 1;
            const std::string shown = line.attributedString().string();
            torn += shown == one || shown == other ? 0 : 1;
        });
    EXPECT_EQ(torn, 0);
}

TEST(QLXSubtitleRecordThreads, ReadsEveryPropertyWhole) {
    const std::vector<std::shared_ptr<QLXSubtitleTextLine>> one{qlxtest::lineWithText("Hello")};
    const std::vector<std::shared_ptr<QLXSubtitleTextLine>> two{qlxtest::lineWithText("one"),
                                                                qlxtest::lineWithText("two")};
    QLXSubtitleRecord record;
    record.setSubtitleLines(one);
    int torn = 0;
    race(
        [&](int round) {
            const double time = round % 2 == 0 ? -1.0 : 1e300;
            record.setSubtitleLines(round % 2 == 0 ? two : one);
            record.setStartTimeInSeconds(time);
            record.setEndTimeInSeconds(time);
            record.setIndex(round % 2 == 0 ? 0 : ~std::uint64_t{0});
            record.setSubtitleMode(round % 3);
            record.setIsValid(round % 2 == 0);
            record.updatePositioningForSubtitleMode(2);
        },
        [&] {
            const auto lines = record.subtitleLines();
            torn += lines == one || lines == two ? 0 : 1;
            const double start = record.startTimeInSeconds();
            torn += start == 0.0 || start == -1.0 || start == 1e300 ? 0 : 1;
            const std::uint64_t index = record.index();
            torn += index == 0 || index == ~std::uint64_t{0} ? 0 : 1;
            const std::uint64_t pairs = record.numberOfCEA608Packets();
            torn += pairs == 5 || pairs == 7 ? 0 : 1;  // (7 + 4) / 2 and (5 + 5 + 4) / 2
            torn += record.copyWithZone() ? 0 : 1;
        });
    EXPECT_EQ(torn, 0);
}

}  // namespace
