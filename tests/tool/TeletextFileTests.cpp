// Subtitle files of several languages and kinds as teletext and back: every text is whole, or it is said which is not.
#include "STLFile.h"
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace teletext_file_test {

using qlxtest::linesOf;
using qlxtest::playArguments;
using qlxtest::runTool;
using qlxtest::STLBlock;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

std::string timeOf(std::size_t milliseconds) {
    std::array<char, 32> text{};
    (void)std::snprintf(text.data(), text.size(), "%02zu:%02zu:%02zu,%03zu", milliseconds / 3'600'000,
                        milliseconds / 60'000 % 60, milliseconds / 1000 % 60, milliseconds % 1000);
    return text.data();
}

/// An SRT file with these texts again and again, `count` cues in all, each of 0.8 s.
std::string fileOf(const std::vector<std::string>& texts, std::size_t count) {
    std::string file;
    for (std::size_t index = 0; index < count; ++index) {
        const std::size_t start = 1000 + index * 1000;
        file += std::to_string(index + 1) + "\n" + timeOf(start) + " --> " + timeOf(start + 800) + "\n" +
                texts[index % texts.size()] + "\n\n";
    }
    return file;
}

/// What comes back of a file on page 888: played to a file of this ending and converted to SRT.
std::string playedBack(const TemporaryFolder& folder, const std::string& file, const std::string& ending,
                       std::string& said, const std::vector<std::string>& more = {}) {
    const std::string aired = folder.path("aired." + ending);
    const std::string back = folder.path("back.srt");
    std::vector<std::string> play = more;
    play.insert(play.end(), {"-o", aired});
    const ToolResult played = runTool(playArguments(file, "25", play));
    said = played.err;
    std::vector<std::string> convert{"convert", aired, "-o", back, "--page", "888"};
    if (ending != "ts") {
        convert.insert(convert.end(), {"--from-rate", "25"});
    }
    const ToolResult converted = runTool(convert);
    EXPECT_EQ(converted.exitCode, 0) << converted.err;
    // Where texts stand is another matter: a page has columns.
    std::string text = folder.read("back.srt");
    constexpr std::size_t kPlaceSize = 6;
    for (std::size_t at = text.find("{\\an"); at != std::string::npos; at = text.find("{\\an", at)) {
        text.erase(at, kPlaceSize);
    }
    return text;
}

struct LanguageFile {
    std::string name;
    std::size_t cues = 0;
    std::vector<std::string> texts;
};

/// Subtitles as films have them, with the letters that the languages have and the signs that texts have.
const std::vector<LanguageFile>& languageFiles() {
    static const std::vector<LanguageFile> files{
        {"da",
         301,
         {"Åh, nej! Hvor er Ærø?", "- Må jeg få æblegrød?\n- Nej, spørg Søren.", "Én øl til, tak. Det blæser.",
          "\"Å i åen\" står der på skiltet.", "PÅ VEJ TIL ÆBELTOFT\nOG ØRSTED ALLÉ 12",
          "Hun sagde: rødgrød, 50 % & så videre."}},
        {"sr-Latn",
         24,
         {"Đorđe, žuri! Čeka te šef.", "- Ćuti!\n- Neću, čuješ?", "Žao mi je, Željko.", "ŠTA ĆE ĐAK U ŽIČI?"}},
        {"sr", 120, {"Љубав, Његош и Ђердап.", "- Ћути!\n- Нећу, чујеш?", "Жао ми је, Џоне.", "ШТА ЋЕ ЂАК У ЖИЧИ?"}},
        {"ru",
         24,
         {"Съешь же ещё этих мягких булок.", "- Ты где?\n- Ёлки-палки, я здесь!", "Объект № 5? Нет, 12.",
          "ЧЁРНЫЙ ЯЩИК, ЩУКА И ЭХО"}},
    };
    return files;
}

/// No set has the sign of numbers.
std::string shownOf(std::string text) {
    const std::string kNumero = "\u2116";
    for (std::size_t at = text.find(kNumero); at != std::string::npos; at = text.find(kNumero, at)) {
        text.replace(at, kNumero.size(), "?");
    }
    return text;
}

TEST(TeletextFiles, AreWholeInDanishSerbianAndRussian) {
    const TemporaryFolder folder;
    for (const LanguageFile& language : languageFiles()) {
        const std::string text = fileOf(language.texts, language.cues);
        const std::string file = folder.write("in.srt", text);
        for (const std::string ending : {"klv", "ts"}) {
#ifndef QLX_STREAMS_FFMPEG
            if (ending == "ts") {
                continue;
            }
#endif
            std::string said;
            const std::string back = playedBack(folder, file, ending, said);
            // The set is the file's own choice. Of what is not as it was it is said.
            const std::string expected = shownOf(text);
            EXPECT_TRUE(back == expected) << language.name << " " << ending << said;
            EXPECT_EQ(said.empty(), expected == text) << said;
            EXPECT_EQ(said.find("cue 3: the character set has no character 2116") != std::string::npos,
                      expected != text)
                << said;
        }
    }
}

STLBlock blockOf(std::uint16_t number, std::uint8_t second, const std::string& text) {
    STLBlock block{.text = {text.begin(), text.end()}, .number = number};
    block.in = {0, 0, second, 0};
    block.out = {0, 0, static_cast<std::uint8_t>(second + 1), 0};
    return block;
}

TEST(TeletextFiles, AreWholeOfStl) {
    const TemporaryFolder folder;
    // Colours inside a row split words, boxes and double height as teletext files have them; a text over two blocks;
    // a set whose second member joins the first.
    STLBlock first = blockOf(3, 5, "\x0D\x0B\x0BThis begins ");
    first.extension = 0;
    STLBlock rest = blockOf(3, 5, "and ends\x0A\x0A");
    STLBlock outer = blockOf(4, 8, "\x0D\x0B\x0BOuter\x0A\x0A");
    outer.out = {0, 0, 12, 0};
    STLBlock inner = blockOf(5, 10, "\x0D\x0B\x0BInner\x0A\x0A");
    inner.out = {0, 0, 12, 0};
    outer.row = 18;
    inner.row = 20;
    std::string innerBytes = inner.bytes();
    std::string outerBytes = outer.bytes();
    outerBytes[4] = 1;
    innerBytes[4] = 3;
    const std::string file =
        folder.write("in.stl", qlxtest::stlInformation("STL25.01", "00006") +
                                   blockOf(1, 1, "\x0D\x07\x0B\x0BWhiteOnBlack\x01RedOnBlack\x0A\x0A").bytes() +
                                   blockOf(2, 3,
                                           "\x0D\x0B\x0BSm\xC8"
                                           "org\xF1s\x0A\x0A\x8A\x8A\x0D\x0B\x0B"
                                           "and two\x0A\x0A")
                                       .bytes() +
                                   first.bytes() + rest.bytes() + outerBytes + innerBytes);
    std::string said;
    const std::string back = playedBack(folder, file, "klv", said);
    std::string texts;
    for (const std::string& line : linesOf(back)) {
        const bool isText = !line.empty() && line.find("-->") == std::string::npos &&
                            line.find_first_not_of("0123456789") != std::string::npos;
        texts += isText ? line + "|" : "";
    }
    EXPECT_EQ(texts,
              "WhiteOnBlack <font color=\"#ff0000\">RedOnBlack</font>|Smörgæs|and two|This begins and ends|Outer|"
              "Outer|Inner|")
        << said;
}

}  // namespace teletext_file_test
