#pragma once

#include <string>
#include <utility>
#include <vector>

/// One header field, as bytes.
struct TZnHTTPHeader
{
    /// As it was written; compared without regard to case.
    std::string Name;
    /// Without the blanks around it.
    std::string Value;

    TZnHTTPHeader() = default;
    /// Takes both over as they are.
    TZnHTTPHeader(std::string AName, std::string AValue) : Name(std::move(AName)), Value(std::move(AValue)) {}

    bool operator==(const TZnHTTPHeader&) const = default;
};

/// Fields in the order in which they stand.
using TZnHTTPHeaders = std::vector<TZnHTTPHeader>;
