#pragma once

#include <string>
#include <utility>
#include <vector>

/// One header field, as bytes.
struct TZnHTTPHeader
{
    std::string Name;
    std::string Value;

    TZnHTTPHeader() = default;
    TZnHTTPHeader(std::string AName, std::string AValue) : Name(std::move(AName)), Value(std::move(AValue)) {}

    bool operator==(const TZnHTTPHeader&) const = default;
};

using TZnHTTPHeaders = std::vector<TZnHTTPHeader>;
