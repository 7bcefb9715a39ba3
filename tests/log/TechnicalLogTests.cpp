// What stands in the files.
#include "LogFixture.h"

using namespace qlxtest;

using TechnicalLog = LogTest;
using SimpleLog = LogTest;
using LogSettings = LogTest;

TEST_F(TechnicalLog, WritesALineAMessage) {
    useDelegate();
    write("first");
    write("Disk full", 1);
    EXPECT_EQ(sundaysFile(), "\t" + kStamp + "\t\tfirst\r\n!\t" + kStamp + "\t\tDisk full\r\n");
    EXPECT_EQ(log->lastTechnicalLogFilePath(), (folder / "Player 2026-11-15.log").string());
    EXPECT_EQ(log->lastTechnicalLogMessage(), "Disk full");
}

TEST_F(TechnicalLog, MarksLevelsBelowTwo) {
    useDelegate();
    log->setTechnicalLogLevel(9);
    for (const std::int64_t level : {-1, 0, 1, 2, 3}) {
        write("level " + std::to_string(level), level);
    }
    EXPECT_EQ(sundaysFile(), "!\t" + kStamp + "\t\tlevel -1\r\n!\t" + kStamp + "\t\tlevel 0\r\n!\t" + kStamp +
                                 "\t\tlevel 1\r\n\t" + kStamp + "\t\tlevel 2\r\n\t" + kStamp + "\t\tlevel 3\r\n");
}

TEST_F(TechnicalLog, CountsRepeatsInAFileThatHasALine) {
    useDelegate();
    write("start");
    for (int message = 0; message < 5; ++message) {
        write("same");
    }
    clock.seconds += 1;
    write("other");
    const std::string later = "2026-11-15\t00:49:43\tSunday";
    EXPECT_EQ(sundaysFile(), "\t" + kStamp + "\t\tstart\r\n\t" + kStamp + "\t\tsame\r\n\t" + later +
                                 "\t\t--- last message repeated 4 times ---\r\n\t" + later + "\t\tother\r\n");
}

TEST_F(TechnicalLog, CountsOneRepeatInTheSingular) {
    useDelegate();
    write("start");
    write("same");
    write("same");
    write("other", 1);
    EXPECT_EQ(sundaysFile(), "\t" + kStamp + "\t\tstart\r\n\t" + kStamp + "\t\tsame\r\n\t" + kStamp +
                                 "\t\t--- last message repeated 1 time ---\r\n!\t" + kStamp + "\t\tother\r\n");
}

TEST_F(TechnicalLog, DoesNotRememberTheFirstMessageOfAFile) {
    useDelegate();
    write("same");
    log->waitUntilQueuesAreEmpty();
    EXPECT_EQ(log->lastTechnicalLogMessage(), std::nullopt);
    write("same");
    write("same");
    const std::string line = "\t" + kStamp + "\t\tsame\r\n";
    EXPECT_EQ(sundaysFile(), line + line);
    EXPECT_EQ(log->lastTechnicalLogMessage(), "same");
}

TEST_F(TechnicalLog, ComparesTextsOnly) {
    // Another level makes no other message: it is counted.
    useDelegate();
    write("start");
    write("same", 2);
    write("same", 1);
    write("end");
    EXPECT_EQ(sundaysFile(), "\t" + kStamp + "\t\tstart\r\n\t" + kStamp + "\t\tsame\r\n\t" + kStamp +
                                 "\t\t--- last message repeated 1 time ---\r\n\t" + kStamp + "\t\tend\r\n");
}

TEST_F(TechnicalLog, DropsMessagesAboveTheLevelWithoutBreakingARun) {
    useDelegate();
    write("start");
    write("same");
    write("verbose", 3);
    write("same");
    write("end");
    EXPECT_EQ(sundaysFile(), "\t" + kStamp + "\t\tstart\r\n\t" + kStamp + "\t\tsame\r\n\t" + kStamp +
                                 "\t\t--- last message repeated 1 time ---\r\n\t" + kStamp + "\t\tend\r\n");
}

TEST_F(TechnicalLog, StartsANewFileAfterMidnight) {
    useDelegate();
    clock.seconds = kSundayNight - 49 * 60 - 42 - 1;  // Saturday, 23:59:59
    write("start");
    write("same");
    write("same");
    write("same");
    clock.seconds += 1;
    write("same");
    const std::string saturday = "2026-11-14\t23:59:59\tSaturday";
    const std::string midnight = "2026-11-15\t00:00:00\tSunday";
    EXPECT_EQ(fileNamed("Player 2026-11-14.log"), "\t" + saturday + "\t\tstart\r\n\t" + saturday + "\t\tsame\r\n\t" +
                                                      midnight + "\t\t--- last message repeated 2 times ---\r\n");
    EXPECT_EQ(sundaysFile(), "\t" + midnight + "\t\tsame\r\n");
}

TEST_F(TechnicalLog, TakesDatesFromTheLocalTimeZone) {
    useDelegate();
    zone.offset = -3600;
    write("still Saturday");
    EXPECT_EQ(fileNamed("Player 2026-11-14.log"), "\t2026-11-14\t23:49:42\tSaturday\t\tstill Saturday\r\n");
}

TEST_F(TechnicalLog, StampsWithTheTimeOfTheCall) {
    useDelegate();
    std::atomic<bool> open{false};
    GatedLogFiles files(open);
    const qlx::ScopedService<qlx::LogFiles> scope(files);
    write("one");
    write("two");
    log->logSimpleMessage_toFileWithName("simple one", "gate");
    log->logSimpleMessage_toFileWithName("simple two", "other");
    clock.seconds += 60;
    open = true;
    open.notify_all();
    EXPECT_EQ(sundaysFile(), "\t" + kStamp + "\t\tone\r\n\t" + kStamp + "\t\ttwo\r\n");
    // A simple line is stamped when its turn comes: the second one waited behind the gate.
    EXPECT_EQ(fileNamed("Player 2026-11-15_other.log"), "2026-11-15\t00:50:42\t\tsimple two\n");
}

TEST_F(TechnicalLog, WritesTheInitialLineOfEveryNewFile) {
    delegate->initialLogMessage = [] { return std::string("Player 3.1 started"); };
    useDelegate();
    write("first", 1);
    write("second");
    EXPECT_EQ(sundaysFile(),
              "\t" + kStamp + "\t\tPlayer 3.1 started\r\n!\t" + kStamp + "\t\tfirst\r\n\t" + kStamp + "\t\tsecond\r\n");
    clock.seconds += 86'400;
    write("third");
    EXPECT_EQ(fileNamed("Player 2026-11-16.log"), "\t2026-11-16\t00:49:42\tMonday\t\tPlayer 3.1 started\r\n"
                                                  "\t2026-11-16\t00:49:42\tMonday\t\tthird\r\n");
}

TEST_F(TechnicalLog, WritesNoEmptyInitialLine) {
    delegate->initialLogMessage = [] { return std::string(); };
    useDelegate();
    write("first");
    EXPECT_EQ(sundaysFile(), "\t" + kStamp + "\t\tfirst\r\n");
}

TEST_F(TechnicalLog, AppendsAnotherInitialLineAfterARestart) {
    delegate->initialLogMessage = [] { return std::string("start"); };
    useDelegate();
    write("same");
    write("same");
    write("same");  // A pending count, which is never written.
    log->waitUntilQueuesAreEmpty();
    log = std::make_shared<QLXLogController>();
    useDelegate();
    write("same");
    const std::string start = "\t" + kStamp + "\t\tstart\r\n";
    const std::string line = "\t" + kStamp + "\t\tsame\r\n";
    EXPECT_EQ(sundaysFile(), start + line + line + start + line);
}

TEST_F(TechnicalLog, WritesLinesDirectly) {
    log->writeStringToTechnicalLog_isProblem_logLevel_show("marked by the flag", true, 2, false);
    log->writeStringToTechnicalLog_isProblem_logLevel_show_logInConsole("not marked", false, 0, true, false);
    log->writeStringToTechnicalLog_isProblem_logLevel_show("too verbose", true, 3, false);
    log->writeStringToTechnicalLog_isProblem_logLevel_show(std::nullopt, false, 1, false);
    EXPECT_EQ(sundaysFile(), "!\t" + kStamp + "\t\tmarked by the flag\r\n\t" + kStamp + "\t\tnot marked\r\n\t" +
                                 kStamp + "\t\t(null)\r\n");
    EXPECT_EQ(console.printed(), "");
}

TEST_F(TechnicalLog, FormatsMessages) {
    useDelegate();
    const std::optional<std::string> none;
    log->logMessageWithLevel_show_messageFormat(2, false, "plain");
    log->logMessageWithLevel_show_messageFormat(2, false, "%@ at frame %d of %@", "Splice", 250, none);
    log->logMessageWithLevel_show_messageFormat(1, false, "%d %@", "text");
    const std::array<qlx::FormatArgument, 2> arguments{qlx::FormatArgument("x"), qlx::FormatArgument(0xFC30)};
    log->logMessageWithLevel_show_messageFormat_arguments(2, false, "%@=%04X", arguments);
    EXPECT_EQ(sundaysFile(), "\t" + kStamp + "\t\tplain\r\n\t" + kStamp + "\t\tSplice at frame 250 of (null)\r\n!\t" +
                                 kStamp + "\t\t(wrong argument) (missing argument)\r\n\t" + kStamp + "\t\tx=FC30\r\n");
}

TEST_F(TechnicalLog, NamesTheDocument) {
    useDelegate();
    log->logMessage_documentName_level_show_notifyRemotes("Saved", "News.srt", 2, false, false);
    log->logMessage_documentName_level_show("Closed", "News.srt", 2, false);
    log->logMessage_documentName_level_show("Quit", std::nullopt, 2, false);
    log->logMessage_documentName_level_show(std::nullopt, std::nullopt, 2, false);
    EXPECT_EQ(sundaysFile(), "\t" + kStamp + "\t\tSaved (Document: News.srt)\r\n\t" + kStamp +
                                 "\t\tClosed (Document: News.srt)\r\n\t" + kStamp + "\t\tQuit\r\n");
}

TEST_F(TechnicalLog, CreatesFilesThatTheGroupMayWrite) {
    using std::filesystem::perms;
    useDelegate();
    write("first");
    log->waitUntilQueuesAreEmpty();
    const perms permissions = std::filesystem::status(folder / "Player 2026-11-15.log").permissions();
    const perms expected =
        perms::owner_read | perms::owner_write | perms::group_read | perms::group_write | perms::others_read;
    // The file mode mask may take rights away; nothing else may, and nothing is added.
    EXPECT_EQ(permissions & ~expected, perms::none);
    EXPECT_EQ(permissions & (perms::owner_all | perms::group_read | perms::others_read),
              expected & ~perms::group_write);
}

TEST_F(TechnicalLog, UsesTheProgramsNameWithoutAnApplicationName) {
    EXPECT_EQ(log->applicationBundleName(), "Player");
    EXPECT_EQ(log->logPrefix(), "Player ");
    application.applicationName = std::nullopt;
    log = std::make_shared<QLXLogController>();
    EXPECT_EQ(log->applicationBundleName(), std::nullopt);
    EXPECT_EQ(log->logPrefix(), "playerd ");
    useDelegate();
    write("x");
    EXPECT_EQ(fileNamed("playerd 2026-11-15.log"), "\t" + kStamp + "\t\tx\r\n");
    log->setLogPrefix("Other ");
    write("y");
    EXPECT_EQ(fileNamed("Other 2026-11-15.log"), "\t" + kStamp + "\t\ty\r\n");
}

TEST_F(SimpleLog, WritesUntaggedLines) {
    log->logSimpleMessage_toFileWithName("clip.mxf", "asrun");
    log->logSimpleMessage_toFileWithName("clip.mxf", "asrun");
    log->logSimpleMessage_toFileWithName("other", "errors");
    EXPECT_EQ(fileNamed("Player 2026-11-15_asrun.log"),
              "2026-11-15\t00:49:42\t\tclip.mxf\n2026-11-15\t00:49:42\t\tclip.mxf\n");
    EXPECT_EQ(fileNamed("Player 2026-11-15_errors.log"), "2026-11-15\t00:49:42\t\tother\n");
    EXPECT_EQ(console.printed(), "");
}

TEST_F(SimpleLog, IsSilentWithoutAFolderAndWhenItCannotBeOpened) {
    log->setTechnicalLogFolderPath(std::nullopt);
    log->logSimpleMessage_toFileWithName("nowhere", "asrun");
    log->waitUntilQueuesAreEmpty();
    log->setTechnicalLogFolderPath((folder / "missing").string());
    log->logSimpleMessage_toFileWithName("nowhere", "asrun");
    log->waitUntilQueuesAreEmpty();
    EXPECT_EQ(namesIn(folder), std::vector<std::string>{});
    EXPECT_EQ(console.printed(), "");
}

TEST_F(LogSettings, RegistersLevelTwo) {
    qlx::UserDefaults fresh;
    const qlx::ScopedService<qlx::UserDefaults> scope(fresh);
    EXPECT_TRUE(fresh.value("technicalLogLevel").isNull());
    QLXLogController::initialize();
    EXPECT_EQ(fresh.value("technicalLogLevel").integerValue(), 2);
    const QLXLogController controller;
    EXPECT_EQ(controller.technicalLogLevel(), 2);
    EXPECT_EQ(controller.technicalLogFolderPath(), std::nullopt);
    EXPECT_EQ(controller.lastTechnicalLogFilePath(), std::nullopt);
    EXPECT_EQ(controller.lastTechnicalLogMessage(), std::nullopt);
}

TEST_F(LogSettings, FollowsTheLevel) {
    useDelegate();
    write("before", 5);
    log->waitUntilQueuesAreEmpty();
    defaults.setValue("technicalLogLevel", 5);
    EXPECT_EQ(log->technicalLogLevel(), 5);
    EXPECT_EQ(console.printed(), "New Technical Log level 5\n");
    write("after", 5);
    EXPECT_EQ(sundaysFile(), "\t" + kStamp + "\t\tafter\r\n");
    defaults.setValue("technicalLogLevel", "-3 or so");
    EXPECT_EQ(log->technicalLogLevel(), -3);
    defaults.setValue("technicalLogLevel", nullptr);
    EXPECT_EQ(log->technicalLogLevel(), 2);
    EXPECT_EQ(console.printed(), "New Technical Log level 5\nNew Technical Log level -3\nNew Technical Log level 2\n");
}

TEST_F(LogSettings, FollowsTheFolder) {
    useDelegate();
    const std::string other = (folder / "other").string();
    std::filesystem::create_directory(other);
    write("start");
    write("same");
    write("same");
    log->waitUntilQueuesAreEmpty();
    defaults.setValue("technicalLogFolderPath", other);
    EXPECT_EQ(log->technicalLogFolderPath(), other);
    write("same");
    EXPECT_EQ(sundaysFile(), "\t" + kStamp + "\t\tstart\r\n\t" + kStamp + "\t\tsame\r\n\t" + kStamp +
                                 "\t\t--- last message repeated 1 time ---\r\n");
    EXPECT_EQ(fileNamed("other/Player 2026-11-15.log"), "\t" + kStamp + "\t\tsame\r\n");
    defaults.setValue("technicalLogFolderPath", nullptr);
    EXPECT_EQ(log->technicalLogFolderPath(), std::nullopt);
    EXPECT_EQ(console.printed(), "New technical log path " + other + "\nNew technical log path (null)\n");
}

/// Settings of which one is changed as soon as it has been read, as another thread may do.
class HastyDefaults : public qlx::UserDefaults {
public:
    HastyDefaults(std::string key, qlx::Value next) : _key(std::move(key)), _next(std::move(next)) {}

    qlx::Value value(std::string_view key) override {
        qlx::Value now = UserDefaults::value(key);
        if (key == _key && !_next.isNull()) {
            setValue(key, std::exchange(_next, qlx::Value()));
        }
        return now;
    }

private:
    std::string _key;
    qlx::Value _next;
};

TEST_F(LogSettings, ChangeWhileAControllerIsBeingMade) {
    {
        HastyDefaults hasty("technicalLogLevel", 5);
        const qlx::ScopedService<qlx::UserDefaults> scope(hasty);
        EXPECT_EQ(QLXLogController().technicalLogLevel(), 5);
    }
    HastyDefaults hasty("technicalLogFolderPath", "/new");
    const qlx::ScopedService<qlx::UserDefaults> scope(hasty);
    hasty.setValue("technicalLogLevel", 3);
    const QLXLogController controller;
    EXPECT_EQ(controller.technicalLogFolderPath(), "/new");
    EXPECT_EQ(controller.technicalLogLevel(), 3);
}

TEST_F(LogSettings, PassesOverOtherKeys) {
    log->observeValueForKeyPath_ofObject_change_context("volume", nullptr, {{"new", 7}}, nullptr);
    log->observeValueForKeyPath_ofObject_change_context("technicalLogLevel", nullptr, {{"new", 7}}, nullptr);
    EXPECT_EQ(log->technicalLogLevel(), 7);
    EXPECT_EQ(console.printed(), "New Technical Log level 7\n");
}

TEST_F(LogSettings, AreNotObservedAfterTheController) {
    auto other = std::make_unique<QLXLogController>();
    defaults.setValue("technicalLogLevel", 4);
    EXPECT_EQ(console.printed(), "New Technical Log level 4\nNew Technical Log level 4\n");
    other.reset();
    defaults.setValue("technicalLogLevel", 6);
    EXPECT_EQ(console.printed(), "New Technical Log level 4\nNew Technical Log level 4\nNew Technical Log level 6\n");
}
