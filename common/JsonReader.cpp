#include <nlohmann/json.hpp>

#include "common/Json.h"

namespace
{

/// Deep nesting would overflow the stack of whoever walks the tree.
constexpr std::size_t cMaxDepth = 128;

/// Builds the tree from the reader's events.
class TBuilder final : public nlohmann::json_sax<nlohmann::json>
{
public:
    std::unique_ptr<TJSONValue> Take() { return std::move(FRoot); }

    bool null() override { return Put(std::make_unique<TJSONNull>()); }
    bool boolean(bool AValue) override { return Put(std::make_unique<TJSONBool>(AValue)); }
    bool number_integer(number_integer_t AValue) override
    {
        return Put(std::make_unique<TJSONNumber>(std::int64_t{AValue}));
    }
    bool number_unsigned(number_unsigned_t AValue) override
    {
        if (AValue <= std::uint64_t{INT64_MAX})
            return Put(std::make_unique<TJSONNumber>(static_cast<std::int64_t>(AValue)));
        return Put(std::make_unique<TJSONNumber>(std::uint64_t{AValue}));
    }
    bool number_float(number_float_t AValue, const string_t& ADigits) override
    {
        return Put(std::make_unique<TJSONNumber>(AValue, ADigits));
    }
    bool string(string_t& AValue) override { return Put(std::make_unique<TJSONString>(std::move(AValue))); }
    bool binary(binary_t&) override { return false; } // no part of JSON text
    bool key(string_t& AName) override
    {
        FOpen.back().Key = std::move(AName);
        return true;
    }
    bool start_object(std::size_t) override { return Open(std::make_unique<TJSONObject>()); }
    bool end_object() override { return Close(); }
    bool start_array(std::size_t) override { return Open(std::make_unique<TJSONArray>()); }
    bool end_array() override { return Close(); }
    bool parse_error(std::size_t APosition, const std::string&, const nlohmann::detail::exception&) override
    {
        throw EZnJSONException(ZnFormat("The JSON text has an error at position %zu!", APosition));
    }

private:
    /// An array or object that is being read. It belongs to its parent already, or to FRoot.
    struct TOpen
    {
        TJSONObject* Object;
        TJSONArray* Array;
        std::string Key; // of the member whose value comes next
    };

    bool Put(std::unique_ptr<TJSONValue> AValue)
    {
        if (FOpen.empty())
            FRoot = std::move(AValue);
        else if (FOpen.back().Array)
            FOpen.back().Array->Add(std::move(AValue));
        else
            FOpen.back().Object->AddPair(std::move(FOpen.back().Key), std::move(AValue));
        return true;
    }

    template <typename T>
    bool Open(std::unique_ptr<T> AContainer)
    {
        if (FOpen.size() >= cMaxDepth)
            throw EZnJSONException(ZnFormat("The JSON text is nested deeper than %zu levels!", cMaxDepth));
        T* const Container = AContainer.get();
        Put(std::move(AContainer));
        if constexpr (std::is_same_v<T, TJSONObject>)
            FOpen.push_back({Container, nullptr, {}});
        else
            FOpen.push_back({nullptr, Container, {}});
        return true;
    }

    bool Close()
    {
        FOpen.pop_back();
        return true;
    }

    std::unique_ptr<TJSONValue> FRoot;
    std::vector<TOpen> FOpen;
};

} // namespace

std::unique_ptr<TJSONValue> TJSONValue::Parse(std::string_view AText)
{
    TBuilder Builder;
    nlohmann::json::sax_parse(AText.begin(), AText.end(), &Builder);
    return Builder.Take();
}

TZnJSONDoc ZnCreateJSONDoc(std::string_view AText)
{
    return TJSONValue::Parse(AText);
}
