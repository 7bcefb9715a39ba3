#include "cli/Completion.h"

#include "io/Errors.h"
#include "io/OutputFile.h"

#include <optional>

namespace qlx::tool {

namespace {

/// `text` as one word of a shell, in single quotes.
std::string quoted(std::string_view text) {
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

// --- bash ------------------------------------------------------------------------------------------------------------

/// How a word of this kind is completed, as assignments; empty when it cannot be.
std::string bashAction(CompletionValue value, const std::vector<std::string>& values) {
    switch (value) {
    case CompletionValue::OneOf:
        return "words=" + quoted(joined(values));
    case CompletionValue::File:
        return "files=-f";
    case CompletionValue::Folder:
        return "files=-d";
    case CompletionValue::None:
    case CompletionValue::Any:
        break;
    }
    return {};
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

void describeForBash(const CompletionCommand& command, const std::string& path, BashTables& tables) {
    std::vector<std::string> commands;
    std::vector<std::string> options;
    std::vector<std::string> valued;
    for (const CompletionCommand& next : command.commands) {
        commands.push_back(next.name);
    }
    for (const CompletionOption& option : command.options) {
        options.insert(options.end(), option.names.begin(), option.names.end());
        if (option.value == CompletionValue::None) {
            continue;
        }
        valued.insert(valued.end(), option.names.begin(), option.names.end());
        std::string pattern;
        for (const std::string& name : option.names) {
            pattern += pattern.empty() ? "" : " | ";
            pattern += quoted(std::string(path).append(" ").append(name));
        }
        addBashArm(tables.options, pattern, bashAction(option.value, option.values));
    }
    for (std::size_t index = 0; index < command.arguments.size(); ++index) {
        const CompletionArgument& argument = command.arguments[index];
        const std::string pattern =
            argument.repeats ? quoted(path + " ") + "*" : quoted(path + " " + std::to_string(index));
        addBashArm(tables.arguments, pattern, bashAction(argument.value, argument.values));
    }
    tables.commands += "    " + quoted(path) + ")\n        commands=" + quoted(joined(commands)) +
                       "\n        options=" + quoted(joined(options)) + "\n        valued=" + quoted(joined(valued)) +
                       "\n        ;;\n";
    for (const CompletionCommand& next : command.commands) {
        describeForBash(next, path + " " + next.name, tables);
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

std::string zshAction(CompletionValue value, const std::vector<std::string>& values) {
    switch (value) {
    case CompletionValue::OneOf:
        return "(" + joined(values) + ")";
    case CompletionValue::File:
        return "_files";
    case CompletionValue::Folder:
        return "_files -/";
    case CompletionValue::None:
    case CompletionValue::Any:
        break;
    }
    return " ";
}

/// What _arguments is told of an option: a text for each of its names, which exclude one another.
void addZshOption(std::string& script, const CompletionOption& option) {
    const std::string others = option.names.size() > 1 ? "(" + joined(option.names) + ")" : "";
    for (const std::string& name : option.names) {
        std::string text = others + name;
        if (option.value != CompletionValue::None) {
            text += name.starts_with("--") ? "=" : "+";
        }
        text += "[" + escaped(option.description, "[]") + "]";
        if (option.value != CompletionValue::None) {
            text += ":" + escaped(option.valueName, ":") + ":" + zshAction(option.value, option.values);
        }
        script += " \\\n        " + quoted(text);
    }
}

void describeForZsh(const CompletionCommand& command, const std::string& function, std::string& script) {
    for (const CompletionCommand& next : command.commands) {
        describeForZsh(next, function + "_" + next.name, script);
    }
    script += "\n" + function + "() {\n";
    if (!command.commands.empty()) {
        script += "    local curcontext=$curcontext state state_descr line\n    typeset -A opt_args\n";
    }
    script += command.commands.empty() ? "    _arguments -s" : "    _arguments -s -C";
    for (const CompletionOption& option : command.options) {
        addZshOption(script, option);
    }
    for (const CompletionArgument& argument : command.arguments) {
        const std::string text = ":" + escaped(argument.name, ":") + ":" + zshAction(argument.value, argument.values);
        script += " \\\n        " + quoted((argument.repeats ? "*" : "") + text);
    }
    if (command.commands.empty()) {
        script += "\n}\n";
        return;
    }
    script += " \\\n        '1:command:->command' \\\n        '*::argument:->argument' && return\n"
              "    case $state in\n    command)\n        local -a subcommands=(\n";
    for (const CompletionCommand& next : command.commands) {
        script += "            " + quoted(next.name + ":" + next.description) + "\n";
    }
    script += "        )\n        _describe -t commands command subcommands\n        ;;\n    argument)\n"
              "        case $words[1] in\n";
    for (const CompletionCommand& next : command.commands) {
        script += "        " + next.name + ") " + function + "_" + next.name + " ;;\n";
    }
    script += "        esac\n        ;;\n    esac\n}\n";
}

}  // namespace

std::string bashCompletion(const CompletionCommand& program) {
    BashTables tables;
    describeForBash(program, program.name, tables);
    std::string script(kBashHead);
    script += tables.commands;
    script += kBashWalk;
    script += tables.options;
    script += kBashArguments;
    script += tables.arguments;
    script += kBashTail;
    return script;
}

std::string zshCompletion(const CompletionCommand& program) {
    std::string script = "#compdef qlxcc\n# Completion of qlxcc for zsh, as printed by: qlxcc completion zsh\n";
    describeForZsh(program, "_qlxcc", script);
    // Found through the search path the file is the function's body; read by `source` it registers the function.
    script += "\nif [[ $funcstack[1] == _qlxcc ]]; then\n    _qlxcc \"$@\"\nelse\n    compdef _qlxcc qlxcc\nfi\n";
    return script;
}

std::string completionScript(std::string_view shell, const CompletionCommand& program) {
    return shell == "zsh" ? zshCompletion(program) : bashCompletion(program);
}

int printCompletion(const CompletionOptions& options) {
    OutputFile output(std::nullopt);
    output.write(options.script);
    output.commit();
    return kExitSuccess;
}

}  // namespace qlx::tool
