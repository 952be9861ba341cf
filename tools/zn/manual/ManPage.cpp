#include "tools/zn/manual/ManPage.h"

#include <CLI/CLI.hpp>

#include "tools/zn/manual/OptionFacts.h"

namespace Zn
{

namespace
{

constexpr const char* cClosing = R"(.SH EXIT STATUS
.TP
.B 0
It was done.
.TP
.B 1
It was asked for rightly, and didn't work; standard error tells why.
.TP
.B 2
It was asked for wrongly.
.PP
.B zn request
and its short forms tell more by theirs; see there.
.SH ENVIRONMENT
.TP
.B ZN_STATE_DIR
Folder of the settings that all servers share. Default: /var/lib/zn for root, $XDG_STATE_HOME/zn for others.
.TP
.B ZN_PIPE_DIR
Folder of the pipes. Default: /run/zn\-pipes where it can be made, else the user's runtime folder.
.TP
.BR ZN_PASSWORD ", " ZN_PROXY_PASSWORD ", " ZN_CERT_PASSWORD ", " ZN_CLIENT_SECRET ", " ZN_OIDC_CLIENT_SECRET
Secrets that don't stand on a command line, where others could read them.
.TP
.BR AWS_ACCESS_KEY_ID ", " AWS_SECRET_ACCESS_KEY ", " AWS_SESSION_TOKEN ", " AWS_REGION
For
.B zn aws
and
.BR "zn s3" .
)";

/// Text as it stands, whatever roff would make of its characters.
std::string Escaped(std::string_view AText)
{
    std::string Text;
    for (const char Letter : AText) {
        if ((Letter == '.' || Letter == '\'') && (Text.empty() || Text.back() == '\n'))
            Text += "\\&";
        if (Letter == '\\')
            Text += "\\e";
        else if (Letter == '-')
            Text += "\\-";
        else
            Text += Letter;
    }
    return Text;
}

std::string Signature(const OptionFacts& AFacts)
{
    std::string Text;
    for (const std::string& Name : AFacts.Names)
        Text += (Text.empty() ? "\\fB" : ", \\fB") + Escaped(Name) + "\\fR";
    if (!AFacts.Choices.empty()) {
        std::string Choices;
        for (const std::string& Choice : AFacts.Choices)
            Choices += (Choices.empty() ? "" : "|") + Escaped(Choice);
        return Text + " " + Choices;
    }
    return AFacts.Value.empty() ? Text : Text + " \\fI" + Escaped(AFacts.Value) + "\\fR";
}

std::string Notes(const OptionFacts& AFacts)
{
    std::string Text;
    for (const std::string& Note : AFacts.Notes)
        Text += (Text.empty() ? "" : "; ") + Note;
    return Text.empty() ? Text : " (" + Text + ")";
}

void AddPositional(std::string& APage, const CLI::Option& AOption)
{
    const OptionFacts Facts(AOption);
    OptionFacts Name = Facts;
    Name.Value.clear();
    APage += ".TP\n" + Signature(Name) + "\n" + Escaped(AOption.get_description() + Notes(Facts)) + "\n";
}

void AddOption(std::string& APage, const CLI::Option& AOption)
{
    const OptionFacts Facts(AOption);
    APage += ".TP\n" + Signature(Facts) + "\n" + Escaped(AOption.get_description() + Notes(Facts)) + "\n";
}

std::string Synopsis(const CLI::App& ACommand, const std::string& AName)
{
    std::string Text = "\\fB" + Escaped(AName) + "\\fR";
    if (NamedOptions(ACommand).size() > 1) // each has --help
        Text += " [\\fIOPTIONS\\fR]";
    if (!Subcommands(ACommand).empty())
        Text += " \\fICOMMAND\\fR";
    for (const CLI::Option* Option : Positionals(ACommand)) {
        std::string Name = "\\fI" + Escaped(OptionFacts(*Option).Names.front()) + "\\fR";
        if (Option->get_expected_max() > 1)
            Name += "...";
        Text += Option->get_required() ? " " + Name : " [" + Name + "]";
    }
    return Text;
}

void AddCommand(std::string& APage, const CLI::App& ACommand, const std::string& AName)
{
    // A heading breaks no line, so it has the name and the synopsis follows.
    APage += ".SS " + Escaped(AName) + "\n" + Synopsis(ACommand, AName) + "\n.PP\n" +
             Escaped(ACommand.get_description()) + ".\n";
    for (const CLI::Option* Option : Positionals(ACommand))
        AddPositional(APage, *Option);
    for (const CLI::Option* Option : NamedOptions(ACommand)) {
        if (Option != ACommand.get_help_ptr())
            AddOption(APage, *Option);
    }
    if (!ACommand.get_footer().empty()) // laid out by hand
        APage += ".PP\n.nf\n" + Escaped(ACommand.get_footer()) + "\n.fi\n";
    for (const CLI::App* Subcommand : Subcommands(ACommand))
        AddCommand(APage, *Subcommand, AName + " " + Subcommand->get_name());
}

} // namespace

std::string ManPage(const CLI::App& AProgram, const std::string& AVersion)
{
    const std::string Name = AProgram.get_name();
    std::string Page = ".TH ZN 1 \"\" \"zn " + AVersion + "\" \"User Commands\"\n.SH NAME\n" + Name +
                       " \\- " + Escaped(AProgram.get_description()) + "\n.SH SYNOPSIS\n" +
                       Synopsis(AProgram, Name) + "\n.SH OPTIONS\n";
    for (const CLI::Option* Option : NamedOptions(AProgram))
        AddOption(Page, *Option);
    Page += ".PP\nEvery command has \\-\\-help, too.\n.SH COMMANDS\n";
    for (const CLI::App* Command : Subcommands(AProgram))
        AddCommand(Page, *Command, Name + " " + Command->get_name());
    return Page + cClosing;
}

} // namespace Zn
