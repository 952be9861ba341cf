#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

class TJSONValue;

namespace Zn
{

using TRow = std::vector<std::string>;

/// Rows under their headings, in columns as wide as they need; AIfEmpty where there are none.
void PrintTable(const TRow& AHeadings, const std::vector<TRow>& ARows, const std::string& AIfEmpty);

/// One line of JSON.
void PrintJson(const TJSONValue& AValue);

/// What a command is about: "the reservation of http://+:80/", and the rule that its arguments have to keep
/// to.
struct TMatter
{
    std::string Name;
    std::string Rule{};
};

/// Does AWork and returns its exit code; what it raises becomes a line on standard error and the code that
/// fits.
int Report(const TMatter& AMatter, const std::function<int()>& AWork);

/// Says "zn config: ..." on standard error.
int Fail(int AExitCode, const std::string& AText);

/// The 40 digits alone, in lower case; empty for what is no thumbprint.
std::string PlainThumbPrint(const std::string& AText);

} // namespace Zn
