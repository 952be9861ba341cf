#include "tools/zn/manual/OptionFacts.h"

#include <CLI/CLI.hpp>

#include "common/Text.h"

namespace Zn
{

namespace
{

std::vector<std::string> Split(std::string_view AText, char ASeparator)
{
    std::vector<std::string> Parts(1);
    for (const char Letter : AText) {
        if (Letter == ASeparator)
            Parts.emplace_back();
        else
            Parts.back() += Letter;
    }
    return Parts;
}

std::string NamesOf(const std::set<CLI::Option*>& AOptions)
{
    std::string Text;
    for (const CLI::Option* Option : AOptions)
        Text += (Text.empty() ? "" : ", ") + Option->get_name();
    return Text;
}

} // namespace

OptionFacts::OptionFacts(const CLI::Option& AOption)
{
    for (const std::string& Name : AOption.get_snames())
        Names.push_back("-" + Name);
    for (const std::string& Name : AOption.get_lnames())
        Names.push_back("--" + Name);
    if (Names.empty())
        Names.push_back(AOption.get_name(true));

    // The library's text is "TYPE", "TYPE:{one,other}" or "TYPE:what is checked"; some types list their
    // values themselves.
    if (AOption.get_type_size() != 0) {
        const std::string Type = AOption.get_type_name();
        const std::size_t Check = Type.find_first_of(":\"");
        Value = Check == std::string::npos || Type[Check] == '"' ? Type : Type.substr(0, Check);
        const std::string Checked = Value == Type ? "" : Type.substr(Check + 1);
        if (Checked.starts_with('{'))
            Choices = Split(Checked.substr(1, Checked.size() - 2), ',');
        else if (Type.find('|') != std::string::npos && Type.find('@') == std::string::npos)
            Choices = Split(Type, '|');
        else if (const std::size_t Range = Checked.find(" in "); Range != std::string::npos)
            Notes.push_back("in " + Checked.substr(Range + 4));
        else if (Checked == "FILE" || Checked == "DIR")
            TakesFile = true;
        else if (Checked == "NONNEGATIVE")
            Notes.push_back("not below 0");
        TakesFile = TakesFile || Value.ends_with("FILE");
    }
    if (!AOption.get_default_str().empty())
        Notes.push_back("default: " + AOption.get_default_str());
    if (!AOption.get_needs().empty())
        Notes.push_back("needs " + NamesOf(AOption.get_needs()));
    if (!AOption.get_excludes().empty())
        Notes.push_back("not with " + NamesOf(AOption.get_excludes()));
}

std::vector<const CLI::Option*> Positionals(const CLI::App& ACommand)
{
    return ACommand.get_options([](const CLI::Option* AOption) { return AOption->get_positional(); });
}

std::vector<const CLI::Option*> NamedOptions(const CLI::App& ACommand)
{
    return ACommand.get_options([](const CLI::Option* AOption) { return AOption->nonpositional(); });
}

std::vector<const CLI::App*> Subcommands(const CLI::App& ACommand)
{
    return ACommand.get_subcommands([](const CLI::App*) { return true; });
}

} // namespace Zn
