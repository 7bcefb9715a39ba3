#include "cli/Completion.h"

#include "cli/OptionTable.h"
#include "io/Errors.h"
#include "io/OutputFile.h"

#include <optional>
#include <vector>

namespace qlx::tool {

namespace {

/// `text` as one word of a shell, in single quotes.
std::string inQuotes(std::string_view text) {
    std::string result = "'";
    for (const char character : text) {
        if (character == '\'') {
            result += "'\\''";
        } else {
            result += character;
        }
    }
    return result + "'";
}

/// `text` with a backslash before each of `characters`.
std::string escaped(std::string_view text, std::string_view characters) {
    std::string result;
    for (const char character : text) {
        if (characters.find(character) != std::string_view::npos) {
            result += '\\';
        }
        result += character;
    }
    return result;
}

std::string joined(const std::vector<std::string>& words) {
    std::string result;
    for (const std::string& word : words) {
        result += (result.empty() ? "" : " ") + word;
    }
    return result;
}

/// The options of a command in the order of its help; without its arguments, and with those of the program behind them.
std::vector<const OptionRow*> optionsOf(const CommandRow& command) {
    std::vector<const OptionRow*> options;
    if (&command == &kProgram) {
        options.push_back(&kVersionOption);
    }
    options.push_back(&kHelpOption);
    for (const OptionRow& row : command.options) {
        if (!isArgument(row)) {
            options.push_back(&row);
        }
    }
    if (&command != &kProgram) {
        for (const OptionRow& row : kProgram.options) {
            options.push_back(&row);
        }
    }
    return options;
}

std::vector<const OptionRow*> argumentsOf(const CommandRow& command) {
    std::vector<const OptionRow*> arguments;
    for (const OptionRow& row : command.options) {
        if (isArgument(row)) {
            arguments.push_back(&row);
        }
    }
    return arguments;
}

// --- bash ------------------------------------------------------------------------------------------------------------

/// How the value of an option is completed, as assignments; empty when it cannot be.
std::string bashAction(const OptionRow& row) {
    if (const std::vector<std::string> words = wordsOf(row); !words.empty()) {
        return "words=" + inQuotes(joined(words));
    }
    return row.kind == ValueKind::File ? "files=-f" : row.kind == ValueKind::Folder ? "files=-d" : "";
}

/// The three tables of the script: what belongs to a command, to an option, to a positional argument.
struct BashTables {
    std::string commands;
    std::string options;
    std::string arguments;
};

void addBashArm(std::string& table, const std::string& pattern, const std::string& action) {
    if (!action.empty()) {
        table += "        " + pattern + ") " + action + " ;;\n";
    }
}

void describeForBash(const CommandRow& command, const std::string& path, BashTables& tables) {
    std::vector<std::string> commands;
    std::vector<std::string> options;
    std::vector<std::string> valued;
    for (const CommandRow* const next : command.commands) {
        commands.emplace_back(next->name);
    }
    for (const OptionRow* const row : optionsOf(command)) {
        const std::vector<std::string> names = namesOf(*row);
        const std::vector<std::string> shown = shownNamesOf(*row);
        options.insert(options.end(), shown.begin(), shown.end());
        if (row->kind == ValueKind::Flag) {
            continue;
        }
        valued.insert(valued.end(), names.begin(), names.end());
        std::string pattern;
        for (const std::string& name : names) {
            pattern += pattern.empty() ? "" : " | ";
            pattern += inQuotes(std::string(path).append(" ").append(name));
        }
        addBashArm(tables.options, pattern, bashAction(*row));
    }
    std::size_t index = 0;
    for (const OptionRow* const row : argumentsOf(command)) {
        const std::string pattern =
            isRepeated(*row) ? inQuotes(path + " ") + "*" : inQuotes(path + " " + std::to_string(index));
        addBashArm(tables.arguments, pattern, bashAction(*row));
        ++index;
    }
    tables.commands += "    " + inQuotes(path) + ")\n        commands=" + inQuotes(joined(commands)) +
                       "\n        options=" + inQuotes(joined(options)) +
                       "\n        valued=" + inQuotes(joined(valued)) + "\n        ;;\n";
    for (const CommandRow* const next : command.commands) {
        describeForBash(*next, std::string(path).append(" ").append(next->name), tables);
    }
}

constexpr std::string_view kBashHead = R"(# Completion of qlxcc for bash, as printed by: qlxcc completion bash

# What the command in $command knows.
_qlxcc_command() {
    case $command in
)";

constexpr std::string_view kBashWalk = R"(    esac
}

_qlxcc() {
    local command=qlxcc commands= options= valued= words= files= word
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local -i index position=0
    COMPREPLY=()
    # "--option=value" comes as three words, and so does a time for every colon.
    if [[ $current == '=' ]]; then
        current=
    elif [[ $previous == '=' ]]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi

    _qlxcc_command
    for ((index = 1; index < COMP_CWORD; ++index)); do
        word=${COMP_WORDS[index]}
        if [[ $word == ':' ]]; then
            index+=1
        elif [[ " $valued " == *" $word "* ]]; then
            index+=1
            if [[ ${COMP_WORDS[index]} == '=' ]]; then
                index+=1
            fi
        elif [[ " $commands " == *" $word "* ]]; then
            command+=" $word"
            position=0
            _qlxcc_command
        elif [[ $word != -?* ]]; then
            position+=1
        fi
    done

    if [[ " $valued " == *" $previous "* ]]; then
        case "$command $previous" in
)";

constexpr std::string_view kBashArguments = R"(        esac
    elif [[ $previous == '<' || $previous == '>' ]]; then
        files=-f
    elif [[ $current == -* ]]; then
        words=$options
    elif [[ -n $commands ]]; then
        words=$commands
    else
        words=$options
        case "$command $position" in
)";

constexpr std::string_view kBashTail = R"(        esac
    fi

    if [[ -n $files ]]; then
        compopt -o filenames 2>/dev/null
        while IFS= read -r word; do
            COMPREPLY+=("$word")
        done < <(compgen "$files" -- "${current//[\\\"\']/}")
    else
        while IFS= read -r word; do
            COMPREPLY+=("$word")
        done < <(compgen -W "$words" -- "$current")
    fi
}

complete -F _qlxcc qlxcc
)";

// --- zsh -------------------------------------------------------------------------------------------------------------

std::string zshAction(const OptionRow& row) {
    if (const std::vector<std::string> words = wordsOf(row); !words.empty()) {
        return "(" + joined(words) + ")";
    }
    return row.kind == ValueKind::File ? "_files" : row.kind == ValueKind::Folder ? "_files -/" : " ";
}

/// What _arguments is told of an option: a text for each of its names, which exclude one another. The older one, which
/// is not offered, has a mark in front.
void addZshOption(std::string& script, const OptionRow& row) {
    const std::vector<std::string> names = namesOf(row);
    const std::string others = names.size() > 1 ? "(" + joined(names) + ")" : "";
    for (const std::string& name : names) {
        std::string text = name == row.older ? "!" : "";
        text.append(others).append(name);
        if (row.kind != ValueKind::Flag) {
            text += name.starts_with("--") ? "=" : "+";
        }
        text += "[" + escaped(helpOf(row), "[]") + "]";
        if (row.kind != ValueKind::Flag) {
            text += ":" + escaped(row.value, ":") + ":" + zshAction(row);
        }
        script += " \\\n        " + inQuotes(text);
    }
}

/// The lines of a function that complete the commands inside of a command.
void addZshCommands(std::string& script, const CommandRow& command, const std::string& function) {
    script += " \\\n        '1:command:->command' \\\n        '*::argument:->argument' && return\n"
              "    case $state in\n    command)\n        local -a subcommands=(\n";
    for (const CommandRow* const next : command.commands) {
        script += "            " + inQuotes(std::string(next->name).append(":").append(next->summary)) + "\n";
    }
    script += "        )\n        _describe -t commands command subcommands\n        ;;\n    argument)\n"
              "        case $words[1] in\n";
    for (const CommandRow* const next : command.commands) {
        script.append("        ").append(next->name).append(") ").append(function).append("_").append(next->name);
        script += " ;;\n";
    }
    script += "        esac\n        ;;\n    esac\n}\n";
}

void describeForZsh(const CommandRow& command, const std::string& function, std::string& script) {
    for (const CommandRow* const next : command.commands) {
        describeForZsh(*next, std::string(function).append("_").append(next->name), script);
    }
    script += "\n" + function + "() {\n";
    if (!command.commands.empty()) {
        script += "    local curcontext=$curcontext state state_descr line\n    typeset -A opt_args\n";
    }
    script += command.commands.empty() ? "    _arguments -s" : "    _arguments -s -C";
    for (const OptionRow* const row : optionsOf(command)) {
        addZshOption(script, *row);
    }
    for (const OptionRow* const row : argumentsOf(command)) {
        const std::string text = ":" + escaped(row->names, ":") + ":" + zshAction(*row);
        script += " \\\n        " + inQuotes((isRepeated(*row) ? "*" : "") + text);
    }
    if (command.commands.empty()) {
        script += "\n}\n";
    } else {
        addZshCommands(script, command, function);
    }
}

std::string bashCompletion() {
    BashTables tables;
    describeForBash(kProgram, std::string(kProgram.name), tables);
    std::string script(kBashHead);
    script += tables.commands;
    script += kBashWalk;
    script += tables.options;
    script += kBashArguments;
    script += tables.arguments;
    script += kBashTail;
    return script;
}

std::string zshCompletion() {
    std::string script = "#compdef qlxcc\n# Completion of qlxcc for zsh, as printed by: qlxcc completion zsh\n";
    describeForZsh(kProgram, "_qlxcc", script);
    // Found through the search path the file is the function's body; read by `source` it registers the function.
    script += "\nif [[ $funcstack[1] == _qlxcc ]]; then\n    _qlxcc \"$@\"\nelse\n    compdef _qlxcc qlxcc\nfi\n";
    return script;
}

}  // namespace

std::string completionScript(std::string_view shell) {
    return shell == "zsh" ? zshCompletion() : bashCompletion();
}

int printCompletion(std::string_view shell) {
    OutputFile output(std::nullopt);
    output.write(completionScript(shell));
    output.commit();
    return kExitSuccess;
}

}  // namespace qlx::tool
