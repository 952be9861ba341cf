#pragma once

#include <string>
#include <string_view>

#include "common/StringList.h"
#include "platform/Api.h"

/// A header block as text: one line per field, "Name: value", in wire order. A response's begins
/// with the status line, which has no ":" and so matches no name unless its reason holds one.
///
/// Threads:   one at a time.
/// Errors:    EStringListError for an index outside of the list.
class ZN_API TZnHTTPHeaderList : public TPersistent
{
public:
    /// The number of lines.
    int Count() const { return FHeaders.Count(); }
    /// Takes all lines out.
    void Clear() { FHeaders.Clear(); }

    /// Appends a line, whether or not there is a field of that name.
    void Add(std::string_view AName, std::string_view AValue);
    /// Takes one line out; those behind it move up.
    void Delete(int AIndex) { FHeaders.Delete(AIndex); }

    /// The first line of that name, without regard to case; -1 when there is none.
    int IndexOfName(std::string_view AName) const;
    /// What stands behind the ":" of that line, blanks included; empty when there is none.
    std::string ValueOfName(std::string_view AName) const;

    /// The trimmed text in front of the first ":"; the whole line when it has none.
    std::string GetName(int AIndex) const { return std::string(NameView(AIndex)); }
    /// The trimmed text behind the first ":"; empty when the line has none.
    std::string GetValue(int AIndex) const { return std::string(ValueView(AIndex)); }
    /// Replaces the line by its name and AValue.
    void SetValue(int AIndex, std::string_view AValue);
    /// "Name=value", counted from 0. Raises EStringListError outside of the list.
    const std::string& GetLine(int AIndex) const { return FHeaders[AIndex]; }

    /// GetName and GetValue without a copy; valid until the list changes.
    std::string_view NameView(int AIndex) const;
    /// The value of a line, borrowed until the list changes.
    std::string_view ValueView(int AIndex) const;

    /// All lines, each with CR LF behind it.
    std::string GetText() const { return FHeaders.GetText(); }
    /// Replaces all lines by those of AText, trimmed at both ends.
    void SetText(std::string_view AText);

protected:
    void AssignTo(TPersistent* ADest) const override;

private:
    TStringList FHeaders;
};
