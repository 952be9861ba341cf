#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "common/Component.h"

/// Lines of UTF-8 text, which can also be read as name=value pairs.
///
/// Sorting, IndexOf and names go without regard to case (ASCII letters). An index outside of
/// the list raises EStringListError.
class TStringList : public TPersistent
{
public:
    TStringList() = default;
    TStringList(std::initializer_list<std::string> ALines) : FLines(ALines) {}

    /// The index of the new line: the end, or its place in a sorted list.
    int Add(std::string ALine);
    void AddStrings(const TStringList& ALines);
    /// EStringListError for a sorted list.
    void Insert(int AIndex, std::string ALine);
    void Delete(int AIndex);
    void Clear() { FLines.clear(); }

    int Count() const { return static_cast<int>(FLines.size()); }
    const std::string& operator[](int AIndex) const;
    /// EStringListError for a sorted list.
    void SetString(int AIndex, std::string ALine);

    /// The first line equal to ALine, -1 when there is none. Binary search in a sorted list.
    int IndexOf(std::string_view ALine) const;

    /// Sorts once. SetSorted(true) sorts and keeps sorted; equal lines keep their order.
    void Sort();
    bool GetSorted() const { return FSorted; }
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

    auto begin() const { return FLines.begin(); }
    auto end() const { return FLines.end(); }

private:
    void CheckIndex(int AIndex) const;
    void CheckNotSorted() const;

    std::vector<std::string> FLines;
    bool FSorted = false;
};

using TStrings = TStringList;
