// Writes the option sections of the manual pages as the table of options has them; the rest of a page stays.
//   qlxcc_manual [--check] FOLDER
#include "cli/OptionTable.h"
#include "cues/CarriedTable.h"

#include <algorithm>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>

namespace {

using namespace qlx::tool;

constexpr std::size_t kLineLength = 120;

/// A name as roff has it: every `-` is one that can be copied.
std::string roffName(std::string_view name) {
    std::string result;
    for (const char character : name) {
        result += character == '-' ? "\\-" : character == '\\' ? "\\e" : std::string(1, character);
    }
    return result;
}

std::string inFont(char font, std::string_view name) {
    return std::string("\\f") + font + roffName(name) + "\\fR";
}

/// A word of a text: options and pages (`qlxcc(1)`) are bold, the name of the option's own value is italic.
/// @param rest What stands behind it.
std::string roffWord(std::string_view word, std::string_view rest, const OptionRow& row) {
    const bool isOption = word.size() > 1 && word.front() == '-';
    if (isOption || (word.starts_with("qlxcc") && rest.starts_with("(1)"))) {
        return inFont('B', word);
    }
    if (!word.empty() && word == (isArgument(row) ? row.names : row.value)) {
        return inFont('I', word);
    }
    return word == "-" ? "\\-" : std::string(word);
}

/// A text without line feeds. What stands in backquotes is bold.
std::string roffText(std::string_view text, const OptionRow& row) {
    constexpr std::string_view kBetweenWords = " ,;:.()`";
    std::string result;
    while (!text.empty()) {
        const bool isQuote = text.front() == '`';
        const std::size_t end = std::min(isQuote ? text.find('`', 1) : text.find_first_of(kBetweenWords), text.size());
        if (isQuote) {
            result += inFont('B', text.substr(1, end - 1));
            text.remove_prefix(std::min(end + 1, text.size()));
        } else if (end == 0) {
            result += text.front();
            text.remove_prefix(1);
        } else {
            result += roffWord(text.substr(0, end), text.substr(end), row);
            text.remove_prefix(end);
        }
    }
    return result;
}

/// Adds a text in lines that are not too long; each sentence begins one.
void addText(std::string& page, std::string_view text) {
    std::size_t length = 0;
    bool endsSentence = true;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        const std::string_view word = text.substr(0, end);
        const bool isFirst = length == 0;
        const bool breaks = !isFirst && (endsSentence || length + 1 + word.size() > kLineLength);
        page += isFirst ? "" : breaks ? "\n" : " ";
        // In front of a line these make it a command.
        page += (isFirst || breaks) && (word.front() == '.' || word.front() == '\'') ? "\\&" : "";
        page += word;
        length = breaks ? word.size() : length + 1 + word.size();
        endsSentence = word.ends_with('.');
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    page += "\n";
}

/// What the manual says of an option: its help, and more. In that, lines that are indented by four stand as they are.
void addDescription(std::string& page, const OptionRow& row) {
    constexpr std::string_view kIndent = "    ";
    std::string text = helpOf(row) + (row.more.starts_with(kIndent) ? ":" : ".");
    std::string rest = withWords(row.more, row);
    while (rest.starts_with(kIndent)) {
        if (!text.empty()) {
            addText(page, roffText(text, row));
            text.clear();
            page += ".nf\n";
        }
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        page += roffName(rest.substr(kIndent.size(), end - kIndent.size())) + "\n";
        rest.erase(0, end + 1);
        if (!rest.starts_with(kIndent)) {
            page += ".fi\n";
        }
    }
    text += (text.empty() || rest.empty() ? "" : " ") + rest;
    if (!text.empty()) {
        addText(page, roffText(text, row));
    }
}

/// `\-\-quiet`, or `\-o " FILE\fR, " \-\-output " FILE"`
std::string tagOf(const OptionRow& row) {
    if (isArgument(row)) {
        return ".I " + roffName(row.names) + "\n";
    }
    const std::vector<std::string> names = namesOf(row);
    const bool isFlag = row.kind == ValueKind::Flag;
    std::string tag = isFlag && names.size() == 1 ? ".B" : isFlag ? ".BR" : ".BI";
    for (const std::string& name : names) {
        const bool isLast = &name == &names.back();
        tag += " " + roffName(name);
        if (isFlag) {
            tag += isLast ? "" : " \", \"";
        } else {
            tag.append(" \" ").append(row.value).append(isLast ? "\"" : "\\fR, \"");
        }
    }
    return tag + "\n";
}

void addOptions(std::string& page, const CommandRow& command) {
    for (const OptionRow& row : command.options) {
        page += ".TP\n" + tagOf(row);
        addDescription(page, row);
    }
}

/// Adds what every command takes, in the page of one.
void addCommonOptions(std::string& page) {
    page += ".TP\n" + tagOf(kHelpOption) + "Print a short help.\n.TP\n.BR";
    bool isFirst = true;
    for (const OptionRow& row : kProgram.options) {
        for (const std::string& name : namesOf(row)) {
            page += (isFirst ? " " : " \", \" ") + roffName(name);
            isFirst = false;
        }
    }
    page += "\nAs for every command; see\n.BR qlxcc (1).\n";
}

std::string upperCase(std::string_view text) {
    std::string result;
    for (const char character : text) {
        result += character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A') : character;
    }
    return result;
}

/// What formats of cues carry, as lines of fixed width.
std::string carriedSection() {
    constexpr std::size_t kNameWidth = 30;
    constexpr std::size_t kWidth = 5;
    constexpr std::string_view kShort[] = {"SRT", "VTT", "STL", "608", "708", "ttx", "IMSC", "TT-D", "JSON"};
    static_assert(std::size(kShort) == kTargetNames.size());
    std::string page = ".SH WHAT FORMATS CARRY\nText and times, and where there is a +:\n.PP\n.nf\n.ft CR\n";
    page.append(kNameWidth, ' ');
    for (const std::string_view name : kShort) {
        page.append(kWidth - name.size(), ' ');
        page += name;
    }
    page += "\n";
    for (const CarriedRow& row : kCarriedTable) {
        std::string line(row.name);
        line.append(kNameWidth - line.size(), ' ');
        for (const char mark : row.targets) {
            line += std::string("   ") + (mark == '+' ? "+ " : ". ");
        }
        line.erase(line.find_last_not_of(' ') + 1);
        page += line + "\n";
    }
    page += ".ft\n.fi\n.PP\nVTT is WebVTT, STL EBU STL, 608 and 708 are captions of CEA-608 and CEA-708, ttx is "
            "teletext, IMSC and TT-D are the two profiles of TTML.\nWhat a format does not carry is lost;\n.B "
            "\\-\\-report\nsays it cue by cue.\n";
    return page;
}

/// The option sections of the page of a command.
std::string optionSections(const CommandRow& command) {
    std::string page;
    if (&command == &kProgram) {
        page += ".SH COMMON OPTIONS\nThey may stand in front of the command or behind it.\n";
        addOptions(page, command);
        page += ".TP\n" + tagOf(kHelpOption) + "Print a short help of qlxcc, or of the command in front of it.\n";
        page += ".TP\n" + tagOf(kVersionOption);
        addDescription(page, kVersionOption);
        return page;
    }
    if (command.commands.empty()) {
        page += ".SH OPTIONS\n";
        addOptions(page, command);
    }
    for (const CommandRow* const inner : command.commands) {
        page += ".SH OPTIONS OF " + upperCase(inner->name) + "\n";
        addOptions(page, *inner);
    }
    if (!command.commands.empty()) {
        page += ".SH OPTIONS OF BOTH\n";
    }
    addCommonOptions(page);
    if (&command == &kConvertCommand) {
        page += carriedSection();
    }
    return page;
}

/// `page` with the option sections of the table in the place of its own.
/// @throws std::runtime_error when it has none.
std::string withOptions(const std::string& page, const CommandRow& command) {
    constexpr std::string_view kSection = ".SH ";
    std::string result;
    bool isOptions = false;
    bool isWritten = false;
    for (std::size_t start = 0; start < page.size();) {
        const std::size_t end = std::min(page.find('\n', start), page.size() - 1) + 1;
        const std::string line = page.substr(start, end - start);
        if (line.starts_with(kSection)) {
            isOptions = line.find("OPTIONS") != std::string::npos || line.find("CARRY") != std::string::npos;
        }
        if (!isOptions) {
            result += line;
        } else if (!isWritten) {
            result += optionSections(command);
            isWritten = true;
        }
        start = end;
    }
    if (!isWritten) {
        throw std::runtime_error("there is no section of options");
    }
    return result;
}

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot be read");
    }
    return {std::istreambuf_iterator<char>(file), {}};
}

/// @return Whether the page was as the table says.
bool bringUpToDate(const std::string& path, const CommandRow& command, bool isCheck) {
    const std::string page = contentOf(path);
    const std::string wanted = withOptions(page, command);
    if (page == wanted) {
        return true;
    }
    if (isCheck) {
        std::cerr << path << ": its options are not those of the table: build the target manual\n";
        return false;
    }
    std::ofstream file(path, std::ios::binary);
    if (!(file << wanted << std::flush)) {
        throw std::runtime_error("cannot be written");
    }
    std::cout << path << '\n';
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    const bool isCheck = argc > 1 && std::string_view(argv[1]) == "--check";
    if (argc != (isCheck ? 3 : 2)) {
        std::cerr << "usage: qlxcc_manual [--check] FOLDER\n";
        return 2;
    }
    const std::string folder = argv[argc - 1];
    std::string path = folder + "/qlxcc.1";
    try {
        bool isUpToDate = bringUpToDate(path, kProgram, isCheck);
        for (const CommandRow* const command : kProgram.commands) {
            path = folder + "/qlxcc-" + std::string(command->name) + ".1";
            isUpToDate = bringUpToDate(path, *command, isCheck) && isUpToDate;
        }
        return isCheck && !isUpToDate ? 1 : 0;
    } catch (const std::exception& error) {
        std::cerr << path << ": " << error.what() << '\n';
        return 1;
    }
}
