#include "tools/zn/manual/BashCompletion.h"

#include <CLI/CLI.hpp>

#include "tools/zn/manual/OptionFacts.h"

namespace Zn
{

namespace
{

// The command is what the words so far lead to; then the word before the cursor may want a value.
constexpr const char* cOpening = R"(# Completion of zn for bash, made from the program's own table of options.

_zn() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command=zn words= options= values= index
    for ((index = 1; index < COMP_CWORD; ++index)); do
        _zn_table "$command"
        [[ " $words " = *" ${COMP_WORDS[index]} "* ]] && command+=" ${COMP_WORDS[index]}"
    done
    _zn_table "$command"
    _zn_values "$command" "$before"
    if [[ $values = FILE ]]; then
        COMPREPLY=($(compgen -f -- "$word"))
    elif [[ $values ]]; then
        COMPREPLY=($(compgen -W "${values#ANY}" -- "$word"))
    elif [[ $word = -* ]]; then
        COMPREPLY=($(compgen -W "$options" -- "$word"))
    elif [[ $words ]]; then
        COMPREPLY=($(compgen -W "$words" -- "$word"))
    else
        COMPREPLY=($(compgen -f -- "$word"))
    fi
}
)";

std::string Joined(const std::vector<std::string>& AWords)
{
    std::string Text;
    for (const std::string& Word : AWords)
        Text += (Text.empty() ? "" : " ") + Word;
    return Text;
}

/// Calls AVisit with each command's name, all words of it, and the command.
template <class TVisit>
void EachCommand(const CLI::App& ACommand, const std::string& AName, const TVisit& AVisit)
{
    AVisit(AName, ACommand);
    for (const CLI::App* Subcommand : Subcommands(ACommand))
        EachCommand(*Subcommand, AName + " " + Subcommand->get_name(), AVisit);
}

/// One line: the words and options that may follow a command.
std::string TableRow(const std::string& AName, const CLI::App& ACommand)
{
    std::vector<std::string> Words, Options;
    for (const CLI::App* Subcommand : Subcommands(ACommand))
        Words.push_back(Subcommand->get_name());
    for (const CLI::Option* Option : NamedOptions(ACommand)) {
        for (const std::string& Name : OptionFacts(*Option).Names)
            Options.push_back(Name);
    }
    return "    '" + AName + "') words='" + Joined(Words) + "' options='" + Joined(Options) + "' ;;\n";
}

/// One line for each option that takes a value: the values, FILE, or ANY for what nobody can guess.
std::string ValueRows(const std::string& AName, const CLI::App& ACommand)
{
    std::string Rows;
    for (const CLI::Option* Option : NamedOptions(ACommand)) {
        const OptionFacts Facts(*Option);
        if (Facts.Value.empty())
            continue;
        std::string Pattern;
        for (const std::string& Name : Facts.Names)
            Pattern += (Pattern.empty() ? "'" : " | '") + AName + " " + Name + "'";
        const std::string Values = Facts.TakesFile         ? "FILE"
                                   : Facts.Choices.empty() ? "ANY"
                                                           : Joined(Facts.Choices);
        Rows += "    " + Pattern + ") values='" + Values + "' ;;\n";
    }
    return Rows;
}

} // namespace

std::string BashCompletion(const CLI::App& AProgram)
{
    std::string Table, Values;
    EachCommand(AProgram, AProgram.get_name(), [&](const std::string& AName, const CLI::App& ACommand) {
        Table += TableRow(AName, ACommand);
        Values += ValueRows(AName, ACommand);
    });
    return std::string(cOpening) + "\n_zn_table() {\n    case $1 in\n" + Table +
           "    esac\n}\n\n_zn_values() {\n    case \"$1 $2\" in\n" + Values +
           "    esac\n}\n\ncomplete -o filenames -F _zn zn\n";
}

} // namespace Zn
