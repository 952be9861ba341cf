#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "common/StringList.h"
#include "common/TextParser.h"

namespace Zn
{

/// True for the files that are looked through for directives: those whose names end in ".shtml" or ".htm",
/// with regard to case.
bool MayHoldDirectives(std::string_view AFileName);

/// Finds the directives of a page:
///
///     <!--#command name="value" name="value" -->
///
/// The command ends at the first space. Spaces ahead of a name are skipped; the name ends at "=", and the
/// value is what stands between the next two double quotes; nothing is escaped. Whatever else looks like a
/// comment is text. A character that ends a failed match is passed over: a "<" right in front of a directive
/// hides it.
///
/// Reads the page once, from the parser's position to the end, in linear time. A directive that the end of
/// the page cuts off is text as well.
class DirectiveScanner
{
public:
    explicit DirectiveScanner(TZnTextParser& APage) : FPage(APage) {}

    /// Goes behind the next directive. False when there is none; Text() is then the rest of the page.
    bool Next();

    /// What stands in front of the directive, from the one before or the beginning on. A piece of the page.
    std::string_view Text() const { return FText; }
    const std::string& Command() const { return FCommand; }
    /// name=value lines, in their order.
    const TStringList& Params() const { return FParams; }

private:
    bool FindStart();
    void ReadDirective();
    void ReadParam();

    TZnTextParser& FPage;
    std::size_t FFrom = 0; // where the text begins that is not yet given
    std::string_view FText;
    std::string FCommand;
    TStringList FParams;
};

/// The part of a text from the comment AStart to the comment AEnd, both included. A comment is given whole or
/// without its "<!-- " and " -->". With an empty AStart the part begins with the text; with an AEnd that is
/// empty or doesn't follow it goes to the text's end. Empty when AStart isn't found.
std::string_view SelectPart(std::string_view AText, const std::string& AStart, const std::string& AEnd);

} // namespace Zn
