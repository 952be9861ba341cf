#include <cmath>

#include "common/Json.h"
#include "common/Text.h"
#include "common/TextParser.h"

namespace
{

constexpr TZnTextSet cNameEnd(".[");

[[noreturn]] void RaiseNoPath(std::string_view APath)
{
    throw EInvalidArgument("\"" + std::string(APath) + "\" is no JSON path!");
}

const TJSONValue* MemberOf(const TJSONValue* AValue, std::string_view AName)
{
    const auto* const Object = dynamic_cast<const TJSONObject*>(AValue);
    return Object ? Object->Find(AName) : nullptr;
}

const TJSONValue* ItemOf(const TJSONValue* AValue, std::size_t AIndex)
{
    const auto* const Array = dynamic_cast<const TJSONArray*>(AValue);
    return Array ? Array->Item(AIndex) : nullptr;
}

/// What stands between brackets, with the parser behind the opening one: an index or a name in
/// quotes. Leaves the parser behind the closing one.
const TJSONValue* StepInBrackets(TZnTextParser& AParser, const TJSONValue* AValue, std::string_view APath)
{
    const TJSONValue* Result;
    if (AParser.At('\'') || AParser.At('"')) {
        const auto Quote = static_cast<char>(AParser.Current());
        AParser.NextChar();
        AParser.SetMark(tpMark1);
        AParser.SkipUntil(Quote);
        Result = MemberOf(AValue, AParser.Selected(tpMark1, tpCurrent));
        AParser.NextChar();
    } else {
        AParser.SetMark(tpMark1);
        AParser.SkipUntil(']');
        const auto Index = ZnParseInt<std::size_t>(AParser.Selected(tpMark1, tpCurrent));
        if (!Index)
            RaiseNoPath(APath);
        Result = ItemOf(AValue, *Index);
    }
    if (!AParser.At(']'))
        RaiseNoPath(APath);
    AParser.NextChar();
    return Result;
}

} // namespace

const TJSONValue* ZnFindJSONValue(const TZnJSONDoc& ADoc, std::string_view APath)
{
    TZnTextParser Parser(APath);
    if (!Parser.At('$'))
        RaiseNoPath(APath);
    Parser.NextChar();
    const TJSONValue* Value = ADoc.get();
    try {
        while (!Parser.Eof()) {
            if (Parser.At('[')) {
                Parser.NextChar();
                Value = StepInBrackets(Parser, Value, APath);
                continue;
            }
            if (!Parser.At('.'))
                RaiseNoPath(APath);
            Parser.NextChar();
            Parser.SetMark(tpMark1);
            Parser.SkipUntilAny(cNameEnd);
            const std::string_view Name = Parser.Selected(tpMark1, tpCurrent);
            if (Name.empty())
                RaiseNoPath(APath);
            Value = MemberOf(Value, Name);
        }
    } catch (const EZnTextParserEOF&) {
        RaiseNoPath(APath);
    }
    return Value;
}

TZnVariant ZnGetJSONDocValue(const TZnJSONDoc& ADoc, std::string_view APath)
{
    const TJSONValue* const Value = ZnFindJSONValue(ADoc, APath);
    return Value ? Value->Value() : TZnVariant();
}

std::int64_t ZnVarToInt(const TZnVariant& AValue, std::int64_t ADefault)
{
    if (const auto* const Integer = std::get_if<std::int64_t>(&AValue))
        return *Integer;
    if (const auto* const Text = std::get_if<std::string>(&AValue))
        return StrToInt64Def(*Text, ADefault);
    if (const auto* const Real = std::get_if<double>(&AValue)) {
        // 2^63 is the first double that doesn't fit.
        if (*Real == std::trunc(*Real) && std::abs(*Real) < 9223372036854775808.0)
            return static_cast<std::int64_t>(*Real);
    }
    return ADefault;
}
