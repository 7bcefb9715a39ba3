// A system that refuses every thread. Each check runs in a child of the test.
#include <QLXClosedCaptionsUtilities/QLXLogController.h>
#include <QLXClosedCaptionsUtilities/QLXLogControllerDelegate.h>
#include <QLXClosedCaptionsUtilities/QLXSRTFileReader.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>
#include <system_error>
#include <thread>

#include <pthread.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

/// Threads get a stack that no address space holds.
void refuseThreads() {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    // 2^48 bytes, or three quarters of 32 bits' addresses.
    constexpr std::size_t kAll = std::numeric_limits<std::size_t>::max();
    constexpr std::size_t kTooLarge = sizeof(kAll) > 4 ? kAll / 0x10000 + 1 : kAll / 4 * 3;
    pthread_attr_setstacksize(&attributes, kTooLarge);
    if (pthread_setattr_default_np(&attributes) != 0) {
        _exit(90);
    }
    try {
        std::thread([] {}).join();
    } catch (const std::system_error&) {
        return;
    }
    _exit(91);
}

/// Of the test that runs alone: others run at the same time.
fs::path testFolder() {
    return fs::path(testing::TempDir()) /
           (std::string("qlx_no_threads_") + testing::UnitTest::GetInstance()->current_test_info()->name());
}

[[noreturn]] void read() {
    refuseThreads();
    const fs::path path = testFolder() / "a.srt";
    std::ofstream(path) << "1\n00:00:01,000 --> 00:00:02,000\ntext\n";
    std::size_t count = 0;
    QLXSRTFileReader::subtitleRecordsFromSRTFileAtPath_subtitleMode_frameDuration_withCompletionHandler(
        path.string(), 2, 0.04,
        [&count](const std::vector<std::shared_ptr<QLXSubtitleRecord>>& records) { count += records.size(); });
    // Not from the call itself, but from the main queue.
    const bool isLate = count == 0;
    qlx::services().get<qlx::MainQueue>().drain();
    _exit(isLate && count == 1 ? 0 : 1);
}

[[noreturn]] void log() {
    refuseThreads();
    const auto delegate = std::make_shared<QLXLogControllerDelegate>();
    QLXLogController controller;
    controller.setTechnicalLogFolderPath(testFolder().string());
    controller.setLogPrefix("Player ");
    // Asked for by the line's work, which must not be done while the delegate's lock is held: this would hang.
    delegate->initialLogMessage = [&controller] {
        controller.logMessage_level_show("asked", 2, true);
        return std::string("header");
    };
    delegate->displayLogWithInfoDict = [&controller](const qlx::Dictionary& info) {
        if (info.find("message")->stringValue() == "shown") {
            controller.writeStringToTechnicalLog_isProblem_logLevel_show("from the display", false, 2, false);
        }
    };
    controller.setLogDelegate(delegate);
    controller.logMessage_level_show("shown", 2, true);
    controller.logSimpleMessage_toFileWithName("simple", "asrun");
    std::size_t lines = 0;
    std::string all;
    for (const auto& entry : fs::directory_iterator(testFolder())) {
        std::ifstream stream(entry.path(), std::ios::binary);
        const std::string content{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
        lines += static_cast<std::size_t>(std::count(content.begin(), content.end(), '\n'));
        all += content;
    }
    const bool isWhole = all.find("header\r\n") < all.find("from the display\r\n") &&
                         all.find("from the display\r\n") < all.find("shown\r\n") &&
                         all.find("shown\r\n") < all.find("asked\r\n");
    _exit(lines == 5 && isWhole ? 0 : 1);
}

class NoThreads : public testing::Test {
protected:
    NoThreads() {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        fs::remove_all(testFolder());
        fs::create_directories(testFolder());
    }
    ~NoThreads() override { fs::remove_all(testFolder()); }
};

}  // namespace

TEST_F(NoThreads, TheCallerReadsAndTheMainQueueAnswers) {
    EXPECT_EXIT(read(), testing::ExitedWithCode(0), "");
}

TEST_F(NoThreads, TheCallerWritesTheLogBehindItsLocks) {
    EXPECT_EXIT(log(), testing::ExitedWithCode(0), "");
}
