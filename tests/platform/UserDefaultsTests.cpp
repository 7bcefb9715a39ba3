#include <QLXClosedCaptionsUtilities/platform/Services.h>
#include <QLXClosedCaptionsUtilities/platform/UserDefaults.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

namespace {

std::string contentOf(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::string freshPath(const std::string& name) {
    const std::string path = testing::TempDir() + name;
    std::filesystem::remove_all(path);
    return path;
}

}  // namespace

TEST(UserDefaults, FallBackToWhatIsRegistered) {
    qlx::UserDefaults defaults;
    EXPECT_TRUE(defaults.value("level").isNull());
    defaults.registerDefault("level", 2);
    EXPECT_EQ(defaults.value("level"), qlx::Value(2));
    defaults.setValue("level", "5");
    defaults.registerDefault("level", 3);
    EXPECT_EQ(defaults.value("level"), qlx::Value("5"));
    defaults.setValue("level", nullptr);
    EXPECT_EQ(defaults.value("level"), qlx::Value(3));
}

TEST(UserDefaults, TellTheObserversOfAKey) {
    qlx::UserDefaults defaults;
    qlx::Array seen;
    const auto observer = [&seen](const std::string& key, const qlx::Value& value) {
        seen.push_back(qlx::Array{key, value});
    };
    const std::uint64_t first = defaults.addObserver("level", observer);
    const std::uint64_t second = defaults.addObserver("level", observer);
    EXPECT_NE(first, second);
    defaults.registerDefault("level", 2);
    defaults.setValue("folder", "/logs");
    EXPECT_EQ(seen, qlx::Array{});
    defaults.setValue("level", 5);
    defaults.removeObserver(first);
    defaults.setValue("level", 5);
    defaults.setValue("level", nullptr);
    defaults.removeObserver(second);
    defaults.removeObserver(second);
    defaults.setValue("level", 9);
    const qlx::Value five = qlx::Array{"level", 5};
    EXPECT_EQ(seen, (qlx::Array{five, five, five, qlx::Array{"level", 2}}));
}

TEST(UserDefaults, LetObserversWriteAndRemove) {
    qlx::UserDefaults defaults;
    std::uint64_t number = 0;
    int calls = 0;
    number = defaults.addObserver("a", [&](const std::string&, const qlx::Value& value) {
        ++calls;
        defaults.setValue("b", value);
        defaults.removeObserver(number);
    });
    defaults.setValue("a", 1);
    defaults.setValue("a", 2);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(defaults.value("b"), qlx::Value(1));
}

TEST(UserDefaults, LiveInAFile) {
    const std::string path = freshPath("qlx_defaults");
    {
        qlx::UserDefaults defaults;
        defaults.setValue("technicalLogLevel", 5);
        EXPECT_TRUE(defaults.backWithFile(path));
        EXPECT_EQ(contentOf(path), "technicalLogLevel=5\n");
        defaults.registerDefault("registered", 1);
        defaults.setValue("technicalLogFolderPath", "/a=b\\n\r\n");
        defaults.setValue("on", true);
        defaults.setValue("bytes", qlx::Data{1, 2});
        defaults.setValue("empty", "");
    }
    EXPECT_EQ(contentOf(path), "empty=\non=1\ntechnicalLogFolderPath=/a\\eb\\\\n\\r\\n\ntechnicalLogLevel=5\n");
    qlx::UserDefaults defaults;
    qlx::Array seen;
    defaults.addObserver("technicalLogLevel",
                         [&seen](const std::string&, const qlx::Value& value) { seen.push_back(value); });
    EXPECT_TRUE(defaults.backWithFile(path));
    EXPECT_EQ(seen, qlx::Array{"5"});
    EXPECT_EQ(defaults.value("technicalLogLevel").integerValue(), 5);
    EXPECT_EQ(defaults.value("technicalLogFolderPath"), qlx::Value("/a=b\\n\r\n"));
    EXPECT_TRUE(defaults.value("on").boolValue());
    EXPECT_EQ(defaults.value("empty"), qlx::Value(""));
    EXPECT_TRUE(defaults.value("bytes").isNull());
    defaults.setValue("on", nullptr);
    defaults.setValue("empty", nullptr);
    defaults.setValue("technicalLogFolderPath", nullptr);
    EXPECT_EQ(contentOf(path), "technicalLogLevel=5\n");
}

TEST(UserDefaults, ReadAFileWrittenByHand) {
    const std::string path = freshPath("qlx_defaults_by_hand");
    std::ofstream(path, std::ios::binary) << "no setting\r\nlevel=3\r\nfolder=/a=b\\x\\\nlevel=4";
    qlx::UserDefaults defaults;
    EXPECT_TRUE(defaults.backWithFile(path));
    EXPECT_EQ(defaults.value("level"), qlx::Value("4"));
    EXPECT_EQ(defaults.value("folder"), qlx::Value("/a=b\\x\\"));
    EXPECT_TRUE(defaults.value("no setting").isNull());
}

TEST(UserDefaults, SayWhenTheFileFails) {
    qlx::UserDefaults defaults;
    EXPECT_FALSE(defaults.backWithFile(testing::TempDir()));
    EXPECT_FALSE(defaults.backWithFile(testing::TempDir() + std::string("qlx\0tail", 8)));
    EXPECT_FALSE(defaults.backWithFile(freshPath("qlx_no_such_folder") + "/defaults"));
    defaults.setValue("level", 4);
    EXPECT_EQ(defaults.value("level"), qlx::Value(4));
}

TEST(UserDefaults, AreAServiceWithADefault) {
    EXPECT_EQ(&qlx::services().get<qlx::UserDefaults>(), &qlx::UserDefaults::defaultInstance());
}
