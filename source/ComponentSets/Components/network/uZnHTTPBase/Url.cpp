#include "uZnHTTPBase/Url.h"

#include <algorithm>
#include <iterator>

#include "common/Encoding.h"
#include "common/Text.h"
#include "common/TextParser.h"

namespace
{

constexpr TZnTextSet cAuthorityStop(":@/[?#");
constexpr TZnTextSet cPasswordStop("@/[?#");
constexpr TZnTextSet cHostStop(":/?#");
constexpr TZnTextSet cPortStop("/?#");
constexpr TZnTextSet cPathEnd("?#");

struct TDefaultPort
{
    std::string_view Scheme;
    std::uint16_t Port;
};
constexpr TDefaultPort cDefaultPorts[] = {{"http", 80}, {"https", 443}, {"ftp", 21}, {"sftp", 115}};

std::uint16_t DefaultPort(std::string_view AScheme)
{
    const auto Found =
        std::find_if(std::begin(cDefaultPorts), std::end(cDefaultPorts),
                     [AScheme](const TDefaultPort& AEntry) { return AEntry.Scheme == AScheme; });
    return Found != std::end(cDefaultPorts) ? Found->Port : std::uint16_t{0};
}

/// Reads one URL from front to back into a record.
class TURLReader
{
public:
    TURLReader(TZnTextParser& AParser, TZnURLData& AData) : FParser(AParser), FData(AData) {}

    void Read()
    {
        ReadScheme();
        ReadAuthority();
        if (FData.Hostname.empty())
            ReadHostname();
        if (FParser.At(cZnColon)) {
            FParser.NextChar();
            FData.Port = ReadPort();
        }
        if (FData.Port == 0)
            FData.Port = DefaultPort(FData.Scheme);
        ReadPath();
        ReadQueryAndFragment();
        FillDerivedFields();
        FData.URL = FParser.Text();
    }

private:
    static constexpr TZnTextPosition cStart = tpMark1;

    std::string_view Token() const { return FParser.Selected(cStart, tpCurrent); }

    void ReadScheme()
    {
        FParser.First();
        FParser.SetMark(cStart);
        FParser.SkipUntil(cZnSlash);
        if (FParser.PeekString(2) == "//") {
            FData.Scheme = FParser.Selected(cStart, tpBefore); // the ":" stays out
            FParser.NextChar();
            FParser.NextChar();
        } else {
            FData.Scheme = "http";
            FData.Port = 80;
            FParser.First();
        }
    }

    /// User information, or the host where there is none.
    void ReadAuthority()
    {
        FParser.SetMark(cStart);
        FParser.SkipUntilAny(cAuthorityStop);
        if (FParser.Eof()) {
            FData.Hostname = Token();
            return;
        }
        switch (FParser.Current()) {
        case cZnColon:
            ReadBehindColon();
            break;
        case cZnAt:
            FData.Username = Token();
            FParser.NextChar();
            break;
        case '[':
            ReadLiteral();
            break;
        default: // "/", "?" or "#"
            FData.Hostname = Token();
        }
    }

    /// Behind the first ":" stands a password if an "@" ends it, else a port.
    void ReadBehindColon()
    {
        const std::string_view First = Token();
        FParser.NextChar();
        FParser.SetMark(cStart);
        FParser.SkipUntilAny(cPasswordStop);
        if (FParser.At(cZnAt)) {
            FData.Username = First;
            FData.Password = Token();
            FParser.NextChar();
        } else {
            FData.Hostname = First;
            FData.Port = PortOf(Token());
        }
    }

    /// An address in brackets, which are part of the name.
    void ReadLiteral()
    {
        FParser.SetMark(cStart);
        FParser.SkipUntil(']');
        FParser.NextChar();
        FData.Hostname = Token();
    }

    void ReadHostname()
    {
        if (FParser.At('[')) {
            ReadLiteral();
            return;
        }
        FParser.SetMark(cStart);
        FParser.SkipUntilAny(cHostStop);
        FData.Hostname = Token();
    }

    std::uint16_t ReadPort()
    {
        FParser.SetMark(cStart);
        FParser.SkipUntilAny(cPortStop);
        return PortOf(Token());
    }

    static std::uint16_t PortOf(std::string_view AText)
    {
        const auto Value = ZnParseInt<std::uint64_t>(AText);
        if (!Value)
            throw EConvertError("The port is no number!");
        return static_cast<std::uint16_t>(*Value); // the low 16 bits of a larger one
    }

    void ReadPath()
    {
        if (!FParser.At(cZnSlash))
            return;
        FParser.SetMark(cStart);
        FParser.SkipUntilAny(cPathEnd);
        const std::string_view Path = Token();
        const std::size_t LastSlash = Path.rfind(cZnSlash);
        FData.FilePath = Path;
        FData.Document = Path.substr(LastSlash + 1);
        if (LastSlash > 0)
            FData.SubPath = Path.substr(1, LastSlash - 1);
    }

    void ReadQueryAndFragment()
    {
        if (FParser.At('?')) {
            FParser.NextChar();
            FParser.SetMark(cStart);
            FParser.SkipUntil('#');
            FData.QueryString = Token();
        }
        if (FParser.At('#')) {
            FParser.NextChar();
            FParser.SetMark(cStart);
            FParser.Last();
            FData.Fragment = Token();
        }
    }

    void FillDerivedFields()
    {
        FData.Origin.reserve(FData.Scheme.size() + FData.Hostname.size() + 9);
        FData.Origin.append(FData.Scheme).append("://").append(FData.Hostname);
        const std::uint16_t Usual = DefaultPort(FData.Scheme);
        if (Usual == 0 || FData.Port != Usual)
            FData.Origin.append(":").append(std::to_string(FData.Port));

        FData.DocumentUri.reserve(FData.Origin.size() + FData.FilePath.size());
        FData.DocumentUri.append(FData.Origin).append(FData.FilePath);

        FData.Resource.reserve(FData.FilePath.size() + FData.QueryString.size() + FData.Fragment.size() + 2);
        FData.Resource.append(FData.FilePath);
        if (!FData.QueryString.empty())
            FData.Resource.append("?").append(FData.QueryString);
        if (!FData.Fragment.empty())
            FData.Resource.append("#").append(FData.Fragment);
    }

    TZnTextParser& FParser;
    TZnURLData& FData;
};

TZnURLData Decode(TZnTextParser& AParser)
{
    TZnURLData Data;
    try {
        TURLReader(AParser, Data).Read();
    } catch (const Exception&) {
        throw EInvalidArgument("The provided URL is not a valid URL!");
    }
    return Data;
}

} // namespace

TZnURLData TZnURLData::Create(const std::string& AURL)
{
    return AURL.empty() ? TZnURLData() : ZnDecodeURL(AURL);
}

TZnURLData ZnDecodeURL(const std::string& AURL)
{
    ZnAssert(!AURL.empty(), "The URL must not be empty");
    TZnTextParser Parser(AURL);
    return Decode(Parser);
}

TZnURLData ZnDecodeURL(const void* AData, int ALength, std::uint32_t ACodePage)
{
    ZnAssert(AData && ALength > 0, "The URL must not be empty");
    TZnTextParser Parser(AData, static_cast<std::size_t>(ALength), ACodePage);
    return Decode(Parser);
}
