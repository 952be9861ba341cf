#include "tools/zn/services/Jwt.h"

#include <cstdio>

#include "common/Exceptions.h"
#include "common/Streams.h"
#include "common/Text.h"
#include "tools/zn/Commands.h"
#include "uZnHTTPServer.h"
#include "uZnHTTPServer/OpenIDProvider.h"

namespace Zn
{

namespace
{

std::string ReadStream(std::FILE* AFile)
{
    std::string Text;
    char Piece[4096];
    while (const std::size_t Count = std::fread(Piece, 1, sizeof Piece, AFile)) {
        Text.append(Piece, Count);
        if (static_cast<std::int64_t>(Text.size()) > cMaxProviderAnswer)
            throw Exception("that is too long");
    }
    return Text;
}

std::string ReadFile(const std::string& AName)
{
    if (AName == "-")
        return ReadStream(stdin);
    TFileStream File(AName, fmOpenRead | fmShareDenyNone);
    if (File.GetSize() > cMaxProviderAnswer)
        throw Exception(AName + " is too long");
    std::string Text(static_cast<std::size_t>(File.GetSize()), '\0');
    File.ReadBuffer(Text.data(), File.GetSize());
    return Text;
}

std::string ReadKeySet(const std::string& AName)
{
    if (!StartsText("http://", AName) && !StartsText("https://", AName))
        return ReadFile(AName);
    if (auto KeySet = GetFromProvider(AName))
        return std::move(*KeySet);
    throw Exception("there are no keys at " + AName);
}

/// What the library says in a page for browsers, in a line.
std::string WithoutMarkup(const std::string& APage)
{
    std::string Line;
    bool IsMarkup = false;
    for (const char Each : APage) {
        if (Each == '<' && !Line.empty() && Line.back() != ' ')
            Line += ' ';
        IsMarkup = Each == '<' || (IsMarkup && Each != '>');
        if (!IsMarkup && Each != '>')
            Line += Each;
    }
    return ZnTrim(Line);
}

int Fail(const std::string& AText)
{
    std::fprintf(stderr, "zn jwt: %s\n", AText.c_str());
    return cExitFailure;
}

void TakeChecks(TZnHTTPServerOIDC& AProvider, const TJwtCommand& ACommand)
{
    TZnOpenIDChecks Checks;
    Checks.Issuer = ACommand.Issuer;
    Checks.Audience = !ACommand.Audience.empty();
    Checks.Times = ACommand.CheckTimes;
    AProvider.SetChecks(Checks);
    AProvider.SetClientId(ACommand.Audience);
}

} // namespace

int VerifyToken(const TJwtCommand& ACommand)
{
    try {
        TZnHTTPServer Server(nullptr); // never switched on: it holds the keys
        TZnHTTPServerOIDC& Provider = Server.GetOpenIDConnect();
        TakeChecks(Provider, ACommand);
        Provider.AddKeys(ReadKeySet(ACommand.KeySet));
        const std::string Text =
            ACommand.Token.starts_with('@') ? ReadFile(ACommand.Token.substr(1)) : ACommand.Token;
        const TZnJWT Token(ZnTrim(Text), Provider);
        Provider.CheckClaims(Token, {});
        std::printf("%s\n", Token.GetPayload().ToJSON().c_str());
        return cExitOk;
    } catch (const EZnHTTPServerAuthGetTokenFailure& Error) {
        return Fail(WithoutMarkup(Error.Message()));
    } catch (const std::exception& Error) {
        return Fail(Error.what());
    }
}

} // namespace Zn
