#include "uZnHTTPServer/ForwardedHops.h"

#include <algorithm>
#include <charconv>

#include "common/Text.h"

namespace Zn
{
namespace
{

bool IsTokenChar(char AChar)
{
    constexpr std::string_view cOthers = "!#$%&'*+-.^_`|~";
    return (AChar >= '0' && AChar <= '9') || (AChar >= 'a' && AChar <= 'z') ||
           (AChar >= 'A' && AChar <= 'Z') || cOthers.find(AChar) != std::string_view::npos;
}

/// Takes pieces off the front of a field; once a piece isn't there, Failed stays.
class FieldReader
{
public:
    explicit FieldReader(std::string_view AField) : FRest(AField) {}

    bool Skip(char AChar)
    {
        if (!FRest.starts_with(AChar))
            return false;
        FRest.remove_prefix(1);
        return true;
    }
    void SkipBlanks() { FRest.remove_prefix(std::min(FRest.find_first_not_of(" \t"), FRest.size())); }
    bool AtEnd() const { return FRest.empty(); }

    std::optional<std::string> Token()
    {
        const auto End = std::find_if_not(FRest.begin(), FRest.end(), IsTokenChar);
        std::string Result(FRest.begin(), End);
        FRest.remove_prefix(Result.size());
        return Result.empty() ? std::nullopt : std::optional(std::move(Result));
    }
    std::optional<std::string> Value()
    {
        if (!Skip('"'))
            return Token();
        std::string Result;
        while (!FRest.empty() && FRest.front() != '"') {
            if (Skip('\\') && FRest.empty())
                return std::nullopt;
            Result += FRest.front();
            FRest.remove_prefix(1);
        }
        return Skip('"') ? std::optional(std::move(Result)) : std::nullopt;
    }

private:
    std::string_view FRest;
};

bool ReadPair(FieldReader& AReader, ForwardedHops& AHops)
{
    const auto Name = AReader.Token();
    if (!Name || !AReader.Skip('='))
        return false;
    auto Value = AReader.Value();
    if (!Value)
        return false;
    std::vector<std::string>* const List = SameText(*Name, "for")     ? &AHops.For
                                           : SameText(*Name, "proto") ? &AHops.Proto
                                           : SameText(*Name, "host")  ? &AHops.Host
                                                                      : nullptr;
    if (List == nullptr)
        return true;
    if (Value->empty() || !List->back().empty())
        return false; // given twice
    List->back() = std::move(*Value);
    return true;
}

std::optional<std::uint16_t> PortOfHop(std::string_view AText)
{
    std::uint16_t Port = 0;
    const auto [Stop, Error] = std::from_chars(AText.data(), AText.data() + AText.size(), Port);
    return Error == std::errc() && Stop == AText.data() + AText.size() ? std::optional(Port) : std::nullopt;
}

/// The entry that the proxy wrote who wrote hop AIndex; a list of another length is that of the nearest one.
std::string EntryOf(const std::vector<std::string>& AList, std::size_t AIndex, std::size_t AHops)
{
    if (AList.empty())
        return {};
    return AList.size() == AHops ? AList[AIndex] : AList.back();
}

} // namespace

std::optional<ForwardedHops> ReadForwarded(std::string_view AField)
{
    ForwardedHops Hops;
    FieldReader Reader(AField);
    do {
        for (auto* const List : {&Hops.For, &Hops.Proto, &Hops.Host})
            List->emplace_back();
        do {
            Reader.SkipBlanks();
            if (!ReadPair(Reader, Hops))
                return std::nullopt;
            Reader.SkipBlanks();
        } while (Reader.Skip(';'));
    } while (Reader.Skip(','));
    return Reader.AtEnd() ? std::optional(std::move(Hops)) : std::nullopt;
}

std::vector<std::string> ReadForwardedList(std::string_view AField)
{
    std::vector<std::string> Result;
    while (!AField.empty()) {
        const std::size_t End = std::min(AField.find(','), AField.size());
        if (const std::string_view Entry = ZnTrimView(AField.substr(0, End)); !Entry.empty())
            Result.emplace_back(Entry); // empty entries don't count (RFC 9110, 5.6.1)
        AField.remove_prefix(std::min(End + 1, AField.size()));
    }
    return Result;
}

std::optional<Endpoint> EndpointOfHop(std::string_view AText)
{
    std::string_view Address = AText;
    std::string_view Port;
    if (AText.starts_with('[')) {
        const std::size_t End = AText.find(']');
        if (End == std::string_view::npos || AText.find('%') != std::string_view::npos)
            return std::nullopt;
        Address = AText.substr(1, End - 1);
        Port = AText.substr(End + 1);
    } else if (const std::size_t Colon = AText.find(':'); Colon == AText.rfind(':') && Colon != AText.npos) {
        Address = AText.substr(0, Colon);
        Port = AText.substr(Colon);
    }
    if (Port.size() == 1 || (!Port.empty() && Port.front() != ':'))
        return std::nullopt;
    const auto Number = Port.empty() ? std::optional<std::uint16_t>(0) : PortOfHop(Port.substr(1));
    return Number ? EndpointFromText(std::string(Address), *Number) : std::nullopt;
}

ForwardedClient FindClient(const ForwardedHops& AHops, const AddressRanges& ATrusted)
{
    ForwardedClient Client;
    std::size_t Index = AHops.For.size();
    while (Index > 0) {
        const auto Address = EndpointOfHop(AHops.For[Index - 1]);
        if (!Address)
            break;
        --Index;
        Client.Address = Address;
        if (!Contains(ATrusted, Address->Get()))
            break;
    }
    const std::size_t Hop = std::min(Index, AHops.For.empty() ? 0 : AHops.For.size() - 1);
    const std::string Proto = EntryOf(AHops.Proto, Hop, AHops.For.size());
    for (const char* const Known : {"http", "https"})
        if (SameText(Proto, Known))
            Client.Proto = Known;
    Client.Host = EntryOf(AHops.Host, Hop, AHops.For.size());
    return Client;
}

} // namespace Zn
