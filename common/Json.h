#pragma once

/// JSON (RFC 8259): a document model to read and to build, and look-up by path.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "common/Exceptions.h"
#include "platform/Api.h"

/// Text that isn't JSON, or nested deeper than 128 levels. The message tells the position.
class ZN_API EZnJSONException : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EZnJSONException")
};

/// A value that may be absent (or null): the first alternative.
using TZnVariant = std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, std::string>;

/// A JSON value of any kind. Values are trees that are built once and then read: reading is free
/// from any thread.
class ZN_API TJSONValue
{
public:
    virtual ~TJSONValue() = default;

    /// The value as JSON text in one line. Text that is no UTF-8 is repaired with U+FFFD.
    std::string ToJSON() const;
    /// Writes the value behind AText, without blanks, in UTF-8.
    virtual void AppendJSON(std::string& AText) const = 0;

    /// The value itself; arrays and objects give their JSON text, null gives nothing.
    virtual TZnVariant Value() const = 0;

    /// Reads one JSON text. Raises EZnJSONException.
    static std::unique_ptr<TJSONValue> Parse(std::string_view AText);
};

/// `null`.
class ZN_API TJSONNull final : public TJSONValue
{
public:
    void AppendJSON(std::string& AText) const override;
    TZnVariant Value() const override { return {}; }
};

/// `true` or `false`.
class ZN_API TJSONBool final : public TJSONValue
{
public:
    /// The value never changes.
    explicit TJSONBool(bool AValue) : FValue(AValue) {}
    void AppendJSON(std::string& AText) const override;
    TZnVariant Value() const override { return FValue; }

private:
    bool FValue;
};

/// Integers of 64 bits are exact; other numbers are doubles. What was read keeps its own digits
/// in ToJSON. A double that is no number is written as null.
class ZN_API TJSONNumber final : public TJSONValue
{
public:
    /// A whole number, kept exactly.
    explicit TJSONNumber(std::int64_t AValue) : FValue(AValue) {}
    /// A whole number, kept exactly.
    explicit TJSONNumber(std::uint64_t AValue) : FValue(AValue) {}
    /// Any number; AText, where it isn't empty, is how it was and will be written.
    explicit TJSONNumber(double AValue, std::string AText = {}) : FValue(AValue), FText(std::move(AText)) {}
    void AppendJSON(std::string& AText) const override;
    TZnVariant Value() const override { return FValue; }

private:
    TZnVariant FValue;
    std::string FText; // the digits as they were read, for numbers that are doubles here
};

/// A text.
class ZN_API TJSONString final : public TJSONValue
{
public:
    /// UTF-8, without escapes: these are made when it is written.
    explicit TJSONString(std::string AValue) : FValue(std::move(AValue)) {}
    void AppendJSON(std::string& AText) const override;
    TZnVariant Value() const override { return FValue; }
    /// The text, without quotes and escapes.
    const std::string& Text() const { return FValue; }

private:
    std::string FValue;
};

/// A list of values, which it owns.
class ZN_API TJSONArray final : public TJSONValue
{
public:
    /// Takes a value over and puts it at the end. The result is the array itself, so that calls can be
    /// chained.
    TJSONArray& Add(std::unique_ptr<TJSONValue> AValue);
    /// The same with a text.
    TJSONArray& Add(std::string_view AValue);
    /// The same with a text.
    TJSONArray& Add(const char* AValue) { return Add(std::string_view(AValue)); }
    /// The same with a whole number.
    TJSONArray& Add(std::int64_t AValue);

    /// The number of values.
    std::size_t Count() const { return FItems.size(); }
    /// Nil behind the end.
    const TJSONValue* Item(std::size_t AIndex) const;

    void AppendJSON(std::string& AText) const override;
    TZnVariant Value() const override { return ToJSON(); }

private:
    std::vector<std::unique_ptr<TJSONValue>> FItems;
};

/// Members keep the order in which they were added. Of like-named ones the last counts.
class ZN_API TJSONObject final : public TJSONValue
{
public:
    /// Takes a member over and puts it at the end; a name may stand there twice. The result is the object
    /// itself, so that calls can be chained.
    TJSONObject& AddPair(std::string AName, std::unique_ptr<TJSONValue> AValue);
    /// The same with a text.
    TJSONObject& AddPair(std::string AName, std::string_view AValue);
    /// The same with a text.
    TJSONObject& AddPair(std::string AName, const char* AValue)
    {
        return AddPair(std::move(AName), std::string_view(AValue));
    }
    /// The same with a whole number.
    TJSONObject& AddPair(std::string AName, std::int64_t AValue);
    /// The same with a whole number.
    TJSONObject& AddPair(std::string AName, int AValue)
    {
        return AddPair(std::move(AName), std::int64_t{AValue});
    }
    /// The same with any number.
    TJSONObject& AddPair(std::string AName, double AValue);
    /// The same with `true` or `false`.
    TJSONObject& AddPair(std::string AName, bool AValue);

    /// Nil when there is no such member.
    const TJSONValue* Find(std::string_view AName) const;

    /// Name and value.
    using TMember = std::pair<std::string, std::unique_ptr<TJSONValue>>;
    /// All members in the order in which they were read or added.
    const std::vector<TMember>& Members() const { return FMembers; }

    void AppendJSON(std::string& AText) const override;
    TZnVariant Value() const override { return ToJSON(); }

    /// Reads a JSON text whose top value is an object. Raises EZnJSONException.
    static std::unique_ptr<TJSONObject> Parse(std::string_view AText);

private:
    std::vector<TMember> FMembers;
};

/// A JSON text that was read: shared, and unchanged from then on, so any thread may read it.
using TZnJSONDoc = std::shared_ptr<const TJSONValue>;

/// Reads AText. Raises EZnJSONException.
ZN_API TZnJSONDoc ZnCreateJSONDoc(std::string_view AText);

/// The value that APath leads to: "$" is the document, ".name" and "['name']" a member, "[2]" an
/// item; "$.keys[0]['kid']". Nothing where the path leads nowhere, EInvalidArgument where it is no path.
ZN_API TZnVariant ZnGetJSONDocValue(const TZnJSONDoc& ADoc, std::string_view APath);

/// As ZnGetJSONDocValue, but the value itself; nil where the path leads nowhere. Borrowed from ADoc.
ZN_API const TJSONValue* ZnFindJSONValue(const TZnJSONDoc& ADoc, std::string_view APath);

/// A text as it is, numbers and Booleans in their JSON form; ADefault for nothing.
ZN_API std::string ZnVarToStr(const TZnVariant& AValue, std::string_view ADefault = {});

/// Integers, doubles without a fraction and texts that are integers; ADefault for anything else
/// and for what doesn't fit 64 bits.
ZN_API std::int64_t ZnVarToInt(const TZnVariant& AValue, std::int64_t ADefault = 0);
