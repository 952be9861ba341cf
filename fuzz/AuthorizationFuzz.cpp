/// An Authorization field never raises, and nobody gets in who doesn't know the password: for Basic it has to
/// stand in the field, for Digest it is one that no input can know.

#include <string>
#include <string_view>

#include "common/Hash.h"
#include "common/Text.h"
#include "fuzz/FuzzCheck.h"
#include "uZnHTTPServer.h"
#include "uZnHTTPServer/BasicCredentials.h"

namespace
{

constexpr std::string_view cPassword = "open sesame";

/// Everybody has an account here.
class Gate : public TZnCustomHTTPServer
{
public:
    Gate() : TZnCustomHTTPServer(nullptr)
    {
        SetOnGetStoredPassword([this](auto&, TZnHTTPAuthentication AType, const std::string& AUser,
                                      std::string& AHash, std::string& ARole, std::string&, TDateTime&) {
            AHash = AType == authBasic ? CalculatePasswordHash(AUser, std::string(cPassword), {}) : FUnknown;
            ARole = "Guest";
            return true;
        });
    }

    TZnHTTPServerRequest Try(std::string_view AField, THTTP_VERB AVerb)
    {
        TZnHTTPServerRequest Request;
        Request.HttpVerb = AVerb;
        DoAuthenticate(FWorker, AField, &Request);
        return Request;
    }

private:
    const std::string FUnknown = MD5Hash(GenerateRandomToken());
    TZnHTTPServerResponseThread FWorker{*this}; // not started
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* AData, std::size_t ALength)
{
    static Gate Gate;
    const std::string_view Field(reinterpret_cast<const char*>(AData), ALength);
    const THTTP_VERB Verb = ALength % 2 ? HttpVerbGET : HttpVerbHEAD;
    const TZnHTTPServerRequest Seen = Gate.Try(Field, Verb);
    if (Seen.AuthenticationType == authNone) {
        Zn::FuzzCheck(Seen.LogonName.empty() && Seen.RoleName == "Anonymous", "a stranger stays anonymous");
        return 0;
    }
    Zn::FuzzCheck(Seen.AuthenticationType == authBasic, "a Digest response can't be guessed");
    const auto Given = Zn::ParseBasicCredentials(Field.substr(Field.find(' ') + 1));
    Zn::FuzzCheck(Given && Given->Password == cPassword, "the password was given");
    Zn::FuzzCheck(Given->UserName == Seen.LogonName && Seen.RoleName == "Guest", "it was this user's");
    return 0;
}
