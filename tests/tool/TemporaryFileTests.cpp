// The file that an output is before it is complete: what reaches the disk when, and who may come in between.
#include "SubtitleFiles.h"
#include "ToolRunner.h"
#include "WatchedCalls.h"
#include "io/TemporaryFile.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using qlx::tool::TemporaryFile;
using qlxtest::CallWatch;
using qlxtest::TemporaryFolder;
using Texts = std::vector<std::string>;

constexpr std::string_view kText = "written";

void writeTo(const TemporaryFile& file) {
    ASSERT_EQ(::write(file.descriptor(), kText.data(), kText.size()), static_cast<ssize_t>(kText.size()));
}

std::string sizeOf(int descriptor) {
    struct stat status {};
    return ::fstat(descriptor, &status) == 0 ? std::to_string(status.st_size) : "none";
}

TEST(TemporaryFile, ReachesTheDiskBeforeItIsRenamed) {
    const TemporaryFolder folder;
    folder.write("a", "old");
    Texts calls;
    const CallWatch watch({.fsync =
                               [&](int descriptor) {
                                   calls.push_back("fsync " + sizeOf(descriptor));
                                   return 0;
                               },
                           .rename =
                               [&](const char* from, const char* to) {
                                   calls.push_back(std::filesystem::path(from).filename().string() + " to " +
                                                   std::filesystem::path(to).filename().string());
                                   return 0;
                               }});
    TemporaryFile file;
    ASSERT_EQ(file.open(folder.path("a")), 0);
    writeTo(file);
    EXPECT_EQ(file.become(), 0);
    EXPECT_EQ(calls, (Texts{"fsync 7", ".a.qlxcc.tmp to a"}));
    EXPECT_EQ(folder.read("a"), kText);
    EXPECT_EQ(folder.names(), Texts{"a"});
}

TEST(TemporaryFile, DoesNotBecomeWhatTheDiskDidNotTake) {
    for (const auto& [error, text] :
         std::vector<std::pair<int, std::string>>{{EIO, "old"}, {ENOSPC, "old"}, {EINVAL, std::string(kText)}}) {
        const TemporaryFolder folder;
        folder.write("a", "old");
        const CallWatch watch({.fsync = [error = error](int) { return error; }});
        TemporaryFile file;
        ASSERT_EQ(file.open(folder.path("a")), 0);
        writeTo(file);
        // Some file systems cannot do it: that is no reason to fail.
        EXPECT_EQ(file.become(), error == EINVAL ? 0 : error);
        EXPECT_EQ(folder.read("a"), text);
        EXPECT_EQ(folder.names(), Texts{"a"});
    }
}

TEST(TemporaryFile, IsMadeAgainWhenItWasTakenForLeftBehind) {
    const TemporaryFolder folder;
    const std::string name = folder.path(".a.qlxcc.tmp");
    int removals = 0;
    const CallWatch watch({.flock = [&](int, int) {
        // Between the opening and the lock another run removes it, twice.
        removals += removals < 2 && ::unlink(name.c_str()) == 0 ? 1 : 0;
        return 0;
    }});
    TemporaryFile file;
    ASSERT_EQ(file.open(folder.path("a")), 0);
    EXPECT_EQ(removals, 2);
    writeTo(file);
    EXPECT_EQ(folder.names(), Texts{".a.qlxcc.tmp"});
    EXPECT_EQ(file.become(), 0);
    EXPECT_EQ(folder.read("a"), kText);
    EXPECT_EQ(folder.names(), Texts{"a"});
}

TEST(TemporaryFile, RemovesNoFileThatHasTakenTheNameMeanwhile) {
    const TemporaryFolder folder;
    const std::string name = folder.write(".a.qlxcc.tmp", "left behind");
    bool isReplaced = false;
    const CallWatch watch({.flock = [&](int, int) {
        if (!isReplaced) {
            // Between the opening and the lock another run has removed it, and writes one of its own.
            isReplaced = true;
            ::unlink(name.c_str());
            folder.write(".a.qlxcc.tmp", "theirs");
        }
        return 0;
    }});
    TemporaryFile file;
    ASSERT_EQ(file.open(folder.path("a")), 0);
    EXPECT_TRUE(isReplaced);
    EXPECT_EQ(folder.read(".a.qlxcc.tmp"), "theirs");
    EXPECT_EQ(folder.names(), (Texts{".a.qlxcc-1.tmp", ".a.qlxcc.tmp"}));
    file.remove();
    EXPECT_EQ(folder.names(), Texts{".a.qlxcc.tmp"});
}

/// Runs `steps` in a child, which SIGTERM must end.
template <class Steps>
void expectEndedBySignal(const Steps& steps) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        std::signal(SIGTERM, SIG_DFL);
        steps();
        ::_exit(2);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status)) << status;
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

TEST(TemporaryFile, IsRemovedByASignalBeforeItsNameIsKnown) {
    const TemporaryFolder folder;
    expectEndedBySignal([&folder] {
        // The file is there; its name is not published yet.
        const CallWatch watch({.flock = [](int, int) { return ::raise(SIGTERM); }});
        TemporaryFile file;
        (void)file.open(folder.path("a"));
    });
    EXPECT_EQ(folder.names(), Texts{});
}

TEST(TemporaryFile, IsWholeUnderItsOwnNameWhenASignalComesAsItIsRenamed) {
    const TemporaryFolder folder;
    folder.write("a", "old");
    expectEndedBySignal([&folder] {
        const CallWatch watch({.rename = [](const char*, const char*) { return ::raise(SIGTERM); }});
        TemporaryFile file;
        if (file.open(folder.path("a")) == 0) {
            writeTo(file);
            (void)file.become();
        }
    });
    EXPECT_EQ(folder.read("a"), kText);
    EXPECT_EQ(folder.names(), Texts{"a"});
}

}  // namespace
