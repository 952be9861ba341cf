#include "common/Json.h"

#include <charconv>
#include <cmath>

#include "common/Encoding.h"

namespace
{

/// A text in quotes, escaped as little as RFC 8259, 7 asks for. "/" stays; so do characters above
/// U+007F, as UTF-8.
void AppendQuoted(std::string& AText, std::string_view AValue)
{
    static constexpr std::string_view cHex = "0123456789abcdef";
    std::string Repaired;
    if (!ZnIsUtf8(AValue)) {
        Repaired = TZnEncoding::ConvertA(AValue, cZnCodePageUTF8);
        AValue = Repaired;
    }
    AText.push_back('"');
    for (const char Char : AValue) {
        switch (Char) {
        case '"':
        case '\\':
            AText.push_back('\\');
            AText.push_back(Char);
            break;
        case '\b':
            AText.append("\\b");
            break;
        case '\f':
            AText.append("\\f");
            break;
        case '\n':
            AText.append("\\n");
            break;
        case '\r':
            AText.append("\\r");
            break;
        case '\t':
            AText.append("\\t");
            break;
        default:
            if (static_cast<unsigned char>(Char) < 0x20) {
                AText.append("\\u00");
                AText.push_back(cHex[static_cast<unsigned char>(Char) >> 4]);
                AText.push_back(cHex[static_cast<unsigned char>(Char) & 0x0F]);
            } else {
                AText.push_back(Char);
            }
        }
    }
    AText.push_back('"');
}

/// The shortest text that reads back as the same number.
template <typename T>
std::string NumberText(T AValue)
{
    char Digits[32];
    return std::string(Digits, std::to_chars(Digits, Digits + sizeof(Digits), AValue).ptr);
}

struct TNumberText
{
    std::string operator()(std::monostate) const { return {}; }
    std::string operator()(bool AValue) const { return AValue ? "true" : "false"; }
    std::string operator()(std::int64_t AValue) const { return NumberText(AValue); }
    std::string operator()(std::uint64_t AValue) const { return NumberText(AValue); }
    std::string operator()(double AValue) const { return NumberText(AValue); }
    std::string operator()(const std::string& AValue) const { return AValue; }
};

} // namespace

std::string TJSONValue::ToJSON() const
{
    std::string Text;
    AppendJSON(Text);
    return Text;
}

void TJSONNull::AppendJSON(std::string& AText) const
{
    AText.append("null");
}

void TJSONBool::AppendJSON(std::string& AText) const
{
    AText.append(FValue ? "true" : "false");
}

void TJSONNumber::AppendJSON(std::string& AText) const
{
    const double* const Real = std::get_if<double>(&FValue);
    if (!FText.empty())
        AText.append(FText);
    else if (Real && !std::isfinite(*Real))
        AText.append("null");
    else
        AText.append(std::visit(TNumberText(), FValue));
}

void TJSONString::AppendJSON(std::string& AText) const
{
    AppendQuoted(AText, FValue);
}

TJSONArray& TJSONArray::Add(std::unique_ptr<TJSONValue> AValue)
{
    FItems.push_back(AValue ? std::move(AValue) : std::make_unique<TJSONNull>());
    return *this;
}

TJSONArray& TJSONArray::Add(std::string_view AValue)
{
    return Add(std::make_unique<TJSONString>(std::string(AValue)));
}

TJSONArray& TJSONArray::Add(std::int64_t AValue)
{
    return Add(std::make_unique<TJSONNumber>(AValue));
}

const TJSONValue* TJSONArray::Item(std::size_t AIndex) const
{
    return AIndex < FItems.size() ? FItems[AIndex].get() : nullptr;
}

void TJSONArray::AppendJSON(std::string& AText) const
{
    char Separator = '[';
    for (const auto& Item : FItems) {
        AText.push_back(Separator);
        Item->AppendJSON(AText);
        Separator = ',';
    }
    AText.append(FItems.empty() ? "[]" : "]");
}

TJSONObject& TJSONObject::AddPair(std::string AName, std::unique_ptr<TJSONValue> AValue)
{
    FMembers.emplace_back(std::move(AName), AValue ? std::move(AValue) : std::make_unique<TJSONNull>());
    return *this;
}

TJSONObject& TJSONObject::AddPair(std::string AName, std::string_view AValue)
{
    return AddPair(std::move(AName), std::make_unique<TJSONString>(std::string(AValue)));
}

TJSONObject& TJSONObject::AddPair(std::string AName, std::int64_t AValue)
{
    return AddPair(std::move(AName), std::make_unique<TJSONNumber>(AValue));
}

TJSONObject& TJSONObject::AddPair(std::string AName, double AValue)
{
    return AddPair(std::move(AName), std::make_unique<TJSONNumber>(AValue));
}

TJSONObject& TJSONObject::AddPair(std::string AName, bool AValue)
{
    return AddPair(std::move(AName), std::make_unique<TJSONBool>(AValue));
}

const TJSONValue* TJSONObject::Find(std::string_view AName) const
{
    for (auto Member = FMembers.rbegin(); Member != FMembers.rend(); ++Member) {
        if (Member->first == AName)
            return Member->second.get();
    }
    return nullptr;
}

void TJSONObject::AppendJSON(std::string& AText) const
{
    char Separator = '{';
    for (const auto& [Name, Value] : FMembers) {
        AText.push_back(Separator);
        AppendQuoted(AText, Name);
        AText.push_back(':');
        Value->AppendJSON(AText);
        Separator = ',';
    }
    AText.append(FMembers.empty() ? "{}" : "}");
}

std::unique_ptr<TJSONObject> TJSONObject::Parse(std::string_view AText)
{
    std::unique_ptr<TJSONValue> Value = TJSONValue::Parse(AText);
    auto* const Object = dynamic_cast<TJSONObject*>(Value.get());
    if (!Object)
        throw EZnJSONException("The JSON text is no object!");
    Value.release();
    return std::unique_ptr<TJSONObject>(Object);
}

std::string ZnVarToStr(const TZnVariant& AValue, std::string_view ADefault)
{
    if (std::holds_alternative<std::monostate>(AValue))
        return std::string(ADefault);
    return std::visit(TNumberText(), AValue);
}
