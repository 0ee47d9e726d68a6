#include "tools/shared/bashcompletion.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string_view>

#include <boost/algorithm/string/replace.hpp>

namespace tools {
namespace {

// In these texts PROGRAM is the program's name.

const char* const beginning =
    R"(# Completes the command line of PROGRAM in bash. This line in ~/.bashrc switches it on:
#     source <(PROGRAM completion bash)

# Sets "takes" to what fits a place of the command line: ":" for commands, "COMMAND:-" for options,
# "COMMAND:OPTION" for the value of an option, and "COMMAND:NUMBER" for an argument. "<file>" and "<folder>"
# are files and folders. Fails if there is no such place.
_PROGRAM_takes() {
    takes=()
    case $1 in
)";

const char* const ending = R"(    *) return 1 ;;
    esac
}

# Sets "words" to the words of a line, without their quotes. The last one may be empty. Backslashes stay.
_PROGRAM_split() {
    local line=$1 quote='' character index isWord=''
    words=('')
    for ((index = 0; index < ${#line}; ++index)); do
        character=${line:index:1}
        if [[ ! $quote && $character == [[:blank:]] ]]; then
            [[ ! $isWord ]] || words+=('')
            isWord=''
            continue
        fi
        isWord=1
        if [[ $quote && $character == "$quote" ]]; then
            quote=''
        elif [[ ! $quote && $character == [\'\"] ]]; then
            quote=$character
        elif [[ $character == '\' && $quote != \' ]]; then
            words[${#words[@]} - 1]+=${line:index:2}
            ((++index))
        else
            words[${#words[@]} - 1]+=$character
        fi
    done
}

# Completes a path: KIND VALUE TEXT BEFORE, where TEXT is the end of VALUE that bash replaces, with BEFORE.
_PROGRAM_path() {
    local value=$2 text=$3 before=$4
    if [[ ! $before && ($value != *"$text" || ($value == "$text" && $value != [A-Za-z]:*)) ]]; then
        if [[ $1 == '<folder>' ]]; then
            compopt -o dirnames
        else
            compopt -o bashdefault -o default
        fi
        return 0
    fi
    # Bash doesn't see the whole path, or has taken it apart at the colon.
    local quoted
    for quoted in ' ' '(' ')' '&'; do
        value=${value//"\\$quoted"/"$quoted"} text=${text//"\\$quoted"/"$quoted"}
    done
    value=${value//\\/\/} text=${text//\\/\/}
    local kind=-f kept=${value%"$text"} name reply
    [[ $1 != '<folder>' ]] || kind=-d
    compopt -o filenames
    while IFS= read -r name; do
        reply=$before${name#"$kept"}
        # Where bash can't see that it is a folder.
        if [[ -d $name && ! -d $reply ]]; then
            reply+=/
            compopt -o nospace
        fi
        COMPREPLY+=("$reply")
    done < <(compgen "$kind" -- "$value")
}

_PROGRAM() {
    local line=${COMP_LINE:0:COMP_POINT} text=$2 redirection='[<>][[:blank:]]*$' words takes
    COMPREPLY=()
    if [[ ${line%"$text"} =~ $redirection ]]; then
        # The file of a redirection.
        compopt -o bashdefault -o default
        return 0
    fi
    _PROGRAM_split "$line"
    local current=${words[${#words[@]} - 1]} command='' option='' arguments=0 ended='' word
    for word in "${words[@]:1:${#words[@]} - 2}"; do
        if [[ $option ]]; then
            option=''
        elif [[ ! $ended && $word == -- ]]; then
            ended=1
        elif [[ ! $ended && $word == -?* ]]; then
            if _PROGRAM_takes "$command:$word"; then
                option=$word
            fi
        elif [[ ! $ended && ! $command ]]; then
            command=$word
        else
            ((++arguments))
        fi
    done

    # What the word begins with in front of the value: "--option=".
    local fixed='' place=$command:$arguments
    if [[ $option ]]; then
        place=$command:$option
    elif [[ ! $ended && $current == --*=* ]]; then
        fixed=${current%%=*}=
        place=$command:${fixed%=}
    elif [[ ! $ended && $current == -* ]]; then
        place=$command:-
    elif [[ ! $ended && ! $command ]]; then
        place=:
    fi
    _PROGRAM_takes "$place" || return 0
    # Bash replaces the end of the word, as a rule what is after the last "=" or ":". That is "text".
    local before=''
    if [[ $fixed && $text == "$fixed"* ]]; then
        before=$fixed
        text=${text#"$fixed"}
    fi
    if [[ ${takes[0]-} == '<'* ]]; then
        _PROGRAM_path "${takes[0]}" "${current#"$fixed"}" "$text" "$before"
        return 0
    fi
    local kept=${current%"$text"}
    [[ $kept$text == "$current" ]] || return 0
    for word in "${takes[@]}"; do
        if [[ $fixed$word == "$current"* ]]; then
            word=$fixed$word
            COMPREPLY+=("$before${word#"$kept"}")
        fi
    done
}

complete -F _PROGRAM PROGRAM PROGRAM.exe
)";

/// Returns `name`, which needs no quotes in the script.
const std::string& plain(const std::string& name) {
    constexpr std::string_view allowed =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.";
    if (name.empty() || name.find_first_not_of(allowed) != std::string::npos) {
        throw std::invalid_argument("'" + name + "' can't be in a completion script");
    }
    return name;
}

std::string withName(const std::string& text, const std::string& name) {
    return boost::replace_all_copy(text, "PROGRAM", name);
}

/// A line of `_PROGRAM_takes`. The words of `taken` are as the script has them.
std::string place(const std::string& pattern, const std::vector<std::string>& taken) {
    std::string line = "    " + pattern + ')';
    const char* separator = " takes=(";
    for (const std::string& word : taken) {
        line += separator + word;
        separator = " ";
    }
    return line + (taken.empty() ? " ;;\n" : ") ;;\n");
}

std::vector<std::string> takenBy(const ValueDescription& value) {
    if (value.kind == ValueKind::text || !value.words.empty()) {
        std::for_each(value.words.begin(), value.words.end(), plain);
        return value.words;
    }
    return {value.kind == ValueKind::file ? "'<file>'" : "'<folder>'"};
}

/// The places of options: after `command`, or in front of a command if that is empty.
std::string optionPlaces(const std::string& command,
                         const std::vector<OptionDescription>& options) {
    std::vector<std::string> names;
    std::string values;
    for (const OptionDescription& option : options) {
        std::string pattern;
        for (const std::string& name : option.names) {
            names.push_back(plain(name));
            pattern.append(pattern.empty() ? "" : " | ").append(command).append(":").append(name);
        }
        if (option.value) {
            values += place(pattern, takenBy(*option.value));
        }
    }
    return place(command + ":-", names) + values;
}

std::string commandPlaces(const CommandDescription& command) {
    std::string text = optionPlaces(plain(command.name), command.options);
    for (size_t i = 0; i < command.arguments.size(); ++i) {
        const bool repeats = command.lastRepeats && i + 1 == command.arguments.size();
        text += place(command.name + ':' + (repeats ? "[0-9]*" : std::to_string(i)),
                      takenBy(command.arguments[i]));
    }
    return text;
}

}  // namespace

std::string bashCompletion(const ProgramDescription& program) {
    std::vector<std::string> commands;
    std::string places;
    for (const CommandDescription& command : program.commands) {
        commands.push_back(command.name);
        places += commandPlaces(command);
    }
    return withName(beginning, plain(program.name)) + place(":", commands) +
           optionPlaces("", program.options) + places + withName(ending, program.name);
}

}  // namespace tools
