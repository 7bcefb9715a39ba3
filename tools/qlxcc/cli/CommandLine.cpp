// The library that parses command lines is included here alone.
#include "cli/CommandLine.h"

#include "cli/OptionTable.h"
#include "io/Errors.h"
#include "io/OutputFile.h"
#include "io/Rates.h"
#include "io/Times.h"

#include <QLXClosedCaptionsUtilities/QLXClosedCaptionsUtilities.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>
#include <memory>
#include <span>
#include <sstream>

namespace qlx::tool {

namespace {

// Checks for CLI11: an empty text, or what is wrong.

/// The frames of a timecode are checked when the rate is known.
std::string checkTime(const std::string& text) {
    return parseTime(text) || parseFrameTimecode(text)
               ? ""
               : "\"" + text + "\" is not a TIME (10.5, 00:00:10,500 or 00:00:10:12; at most 1000 hours)";
}

/// The same of a time in front of a file's beginning as well.
std::string checkSignedTime(const std::string& text) {
    return text.starts_with('-') && checkTime(text.substr(1)).empty() ? "" : checkTime(text);
}

std::string checkRate(const std::string& text) {
    return rateNamed(text)
               ? ""
               : "\"" + text + "\" is not a RATE (23.976, 24, 25, 29.97, 30, 50, 59.94 or 60, or as 30000/1001)";
}

/// An empty name further on stands for none.
std::string checkName(const std::string& text) {
    return text.empty() ? "the name is empty" : "";
}

/// The help has the names of today: what options were called before stands in the manual alone.
class HelpFormatter final : public CLI::Formatter {
public:
    void show(const CLI::Option& option, std::string_view names) { _names[&option] = names; }

    std::string make_option_name(const CLI::Option* option, bool isPositional) const override {
        const auto found = _names.find(option);
        return found != _names.end() ? std::string(found->second)
                                     : CLI::Formatter::make_option_name(option, isPositional);
    }

private:
    std::map<const CLI::Option*, std::string_view> _names;
};

/// Defines an option for CLI11, by the kind of its field.
class OptionMaker {
public:
    OptionMaker(CLI::App& command, const OptionRow& row, RawOptions& raw)
        : _command(command), _row(row), _raw(raw), _names(row.names), _help(helpOf(row)) {
        if (!row.older.empty()) {
            _names.append(",").append(row.older);
        }
    }

    CLI::Option& operator()(std::monostate /*nowhere*/) const { return *_command.add_flag(_names, _help); }

    CLI::Option& operator()(bool RawOptions::*field) const { return *_command.add_flag(_names, _raw.*field, _help); }

    CLI::Option& operator()(std::vector<std::string> RawOptions::*field) const {
        CLI::Option& option = *_command.add_option(_names, _raw.*field, _help);
        return isArgument(_row) ? option : *option.expected(1)->take_all()->allow_extra_args(false);
    }

    CLI::Option& operator()(std::map<std::string_view, std::string> RawOptions::*field) const {
        const auto keep = [&values = _raw.*field, name = _row.names](const std::string& text) { values[name] = text; };
        if (_row.kind == ValueKind::Flag) {
            const auto keepFlag = [keep] { keep(""); };
            return *_command.add_flag_callback(_names, keepFlag, _help);
        }
        return *_command.add_option_function<std::string>(_names, keep, _help);
    }

    template <typename Value>
    CLI::Option& operator()(Value RawOptions::*field) const {
        return *_command.add_option(_names, _raw.*field, _help);
    }

private:
    CLI::App& _command;
    const OptionRow& _row;
    RawOptions& _raw;
    std::string _names;
    std::string _help;
};

/// In the type of the field: what is no number of it is refused.
CLI::Range rangeOf(const OptionRow& row) {
    return std::holds_alternative<std::int64_t RawOptions::*>(row.field)
               ? CLI::Range(static_cast<std::int64_t>(row.least), static_cast<std::int64_t>(row.greatest))
               : CLI::Range(row.least, row.greatest);
}

void limit(CLI::Option& option, const OptionRow& row) {
    switch (row.kind) {
    case ValueKind::Word:
        option.check(CLI::IsMember(wordsOf(row)).description(""));
        break;
    case ValueKind::WordOfAnyCase:
        option.check(CLI::IsMember(wordsOf(row), CLI::ignore_case).description(""));
        break;
    case ValueKind::Number:
        option.check(rangeOf(row).description(""));
        break;
    case ValueKind::Rate:
        option.check(checkRate);
        break;
    case ValueKind::Time:
        option.check(checkTime);
        break;
    case ValueKind::SignedTime:
        option.check(checkSignedTime);
        break;
    case ValueKind::Name:
        option.check(checkName);
        break;
    case ValueKind::Flag:
    case ValueKind::Text:
    case ValueKind::File:
    case ValueKind::Folder:
        break;
    }
}

/// What was called, behind the name of the program.
using Arguments = std::span<const char* const>;

/// Defines what `row` has: options, and the commands inside of it. Those that `arguments` do not name cannot be the one
/// that is called: nobody asks for their options, and to define them takes longer than most commands do.
void define(CLI::App& command, const CommandRow& row, RawOptions& raw, HelpFormatter& formatter, Arguments arguments) {
    command.footer(std::string(row.notes));
    for (const OptionRow& option : row.options) {
        CLI::Option& defined = std::visit(OptionMaker(command, option, raw), option.field);
        defined.required(option.isRequired);
        if (option.kind != ValueKind::Flag) {
            defined.type_name(std::string(option.value));
        }
        if (!option.needs.empty()) {
            defined.needs(std::string(option.needs));
        }
        limit(defined, option);
        if (!option.older.empty()) {
            formatter.show(defined, option.names);
        }
    }
    if (!row.commands.empty()) {
        command.require_subcommand(1);
    }
    for (const CommandRow* const next : row.commands) {
        CLI::App& inside = *command.add_subcommand(std::string(next->name), std::string(next->summary));
        if (std::find(arguments.begin(), arguments.end(), next->name) != arguments.end()) {
            define(inside, *next, raw, formatter, arguments);
        }
    }
}

/// The command that was called, as far as its names were given.
/// @param called Gets them: `qlxcc line21 read`.
const CommandRow& calledCommand(const CLI::App& app, std::string& called) {
    const CommandRow* row = &kProgram;
    called = app.get_name();
    for (auto level = app.get_subcommands(); !level.empty(); level = level.front()->get_subcommands()) {
        const std::string& name = level.front()->get_name();
        called += " " + name;
        for (const CommandRow* const next : row->commands) {
            if (next->name == name) {
                row = next;
                break;
            }
        }
    }
    return *row;
}

/// What was given to the command, by its names, in its order.
std::vector<std::string> givenOrder(const CLI::App& app) {
    const CLI::App* last = &app;
    for (auto level = app.get_subcommands(); !level.empty(); level = last->get_subcommands()) {
        last = level.front();
    }
    std::vector<std::string> names;
    for (const CLI::Option* const option : last->parse_order()) {
        names.push_back(option->get_name());
    }
    return names;
}

std::string problemOf(const CLI::ParseError& error, const CLI::App& app) {
    const auto rest = app.remaining();
    return app.get_subcommands().empty() && !rest.empty() ? "unknown command or option " + rest.front() : error.what();
}

/// Prints the help or the version that was asked for.
void printAnswer(const CLI::ParseError& request, const CLI::App& app) {
    std::ostringstream answer;
    (void)app.exit(request, answer, answer);
    OutputFile output(std::nullopt);
    output.write(answer.str());
    output.commit();
}

}  // namespace

Action parseCommandLine(int argc, const char* const* argv, LogOptions& log, std::string& called) {
    CLI::App app(std::string(kProgram.summary), called);
    app.set_version_flag(std::string(kVersionOption.names),
                         "qlxcc " + std::string(QLXClosedCaptionsUtilitiesVersionString), helpOf(kVersionOption));
    app.set_help_flag(std::string(kHelpOption.names), helpOf(kHelpOption));
    // The options for all commands may stand in front of the command or behind it.
    app.fallthrough();
    RawOptions raw;
    const auto formatter = std::make_shared<HelpFormatter>();
    app.formatter(formatter);
    const Arguments all(argv, static_cast<std::size_t>(std::max(argc, 0)));
    define(app, kProgram, raw, *formatter, all.subspan(std::min<std::size_t>(1, all.size())));
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        (void)calledCommand(app, called);
        if (error.get_exit_code() != static_cast<int>(CLI::ExitCodes::Success)) {
            throw UsageError(problemOf(error, app));
        }
        printAnswer(error, app);
        return {};
    }
    const CommandRow& command = calledCommand(app, called);
    raw.order = givenOrder(app);
    setQuiet(raw.isQuiet);
    log.folder = raw.logFolder;
    log.level = raw.logLevel;
    return command.check(raw);
}

}  // namespace qlx::tool
