#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "common/Component.h"
#include "platform/Api.h"

/// Lines of UTF-8 text, which can also be read as name=value pairs.
///
/// Sorting, IndexOf and names go without regard to case (ASCII letters). An index outside of
/// the list raises EStringListError.
class ZN_API TStringList : public TPersistent
{
public:
    TStringList() = default;
    /// With these lines: `Server.SetBindings({"http://localhost:8080/"})`.
    TStringList(std::initializer_list<std::string> ALines) : FLines(ALines) {}

    /// The index of the new line: the end, or its place in a sorted list.
    int Add(std::string ALine);
    /// Adds every line of another list.
    void AddStrings(const TStringList& ALines);
    /// EStringListError for a sorted list.
    void Insert(int AIndex, std::string ALine);
    /// Takes a line out; those behind it move up.
    void Delete(int AIndex);
    /// Takes all lines out.
    void Clear() { FLines.clear(); }

    /// The number of lines.
    int Count() const { return static_cast<int>(FLines.size()); }
    /// One line, counted from 0.
    const std::string& operator[](int AIndex) const;
    /// EStringListError for a sorted list.
    void SetString(int AIndex, std::string ALine);

    /// The first line equal to ALine, -1 when there is none. Binary search in a sorted list.
    int IndexOf(std::string_view ALine) const;

    /// Sorts once. SetSorted(true) sorts and keeps sorted; equal lines keep their order.
    void Sort();
    /// The list keeps itself sorted. Default false.
    bool GetSorted() const { return FSorted; }
    /// True sorts now and keeps sorted from now on.
    void SetSorted(bool AValue);

    /// What stands before the first '=' of a line; empty for a line without one.
    std::string GetName(int AIndex) const;
    /// What stands behind it; empty for a line without one.
    std::string ValueFromIndex(int AIndex) const;
    /// The index of the first line of that name, or -1.
    int IndexOfName(std::string_view AName) const;
    /// The value of the first line of that name, empty when there is none.
    std::string GetValue(std::string_view AName) const;
    /// Changes the first line of that name or adds one; an empty value deletes it.
    void SetValue(std::string_view AName, std::string_view AValue);

    /// All lines, each with a line break (CR LF, as HTTP has it) behind it.
    std::string GetText() const;
    /// Splits at CR LF, LF and CR. A break at the very end begins no further line.
    void SetText(std::string_view AText);

    void Assign(const TPersistent* ASource) override;

    /// For loops over all lines.
    auto begin() const { return FLines.begin(); }
    /// For loops over all lines.
    auto end() const { return FLines.end(); }

private:
    void CheckIndex(int AIndex) const;
    void CheckNotSorted() const;

    std::vector<std::string> FLines;
    bool FSorted = false;
};

/// The same by its older name.
using TStrings = TStringList;
