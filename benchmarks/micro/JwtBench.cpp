/// RS256 tokens checked by TZnJWT with its key table warm, beside OpenSSL's check of the signature alone. In
/// turns of a few milliseconds, so that both meet the same machine.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "tests/support/TokenSigner.h"
#include "uZnHTTPServer.h"

namespace
{

constexpr int cTurns = 400;
constexpr int cChecks = 100; // in each turn

using TClock = std::chrono::steady_clock;

void Demand(bool AHolds)
{
    if (!AHolds)
        std::abort();
}

/// Seconds for a turn.
template <class TCheck>
double Time(const TCheck& ACheck)
{
    const auto Start = TClock::now();
    for (int i = 0; i < cChecks; ++i)
        ACheck();
    return std::chrono::duration<double>(TClock::now() - Start).count();
}

double Median(std::vector<double> AValues)
{
    std::nth_element(AValues.begin(), AValues.begin() + cTurns / 2, AValues.end());
    return AValues[cTurns / 2];
}

/// What is left when the token's parts, its key and its signature's bytes are there already.
class RawCheck
{
public:
    RawCheck(const std::string& AToken, EVP_PKEY* AKey)
        : FSigned(AToken.substr(0, AToken.rfind('.'))),
          FSignature(TZnNetEncoding::GetBase64ExEncoding().Decode(AToken.substr(FSigned.size() + 1))),
          FKey(AKey)
    {
    }

    void operator()() const
    {
        EVP_MD_CTX* const Context = EVP_MD_CTX_new();
        Demand(EVP_DigestVerifyInit(Context, nullptr, EVP_sha256(), nullptr, FKey) == 1);
        Demand(EVP_DigestVerify(Context, Bytes(FSignature), FSignature.size(), Bytes(FSigned),
                                FSigned.size()) == 1);
        EVP_MD_CTX_free(Context);
    }

private:
    static const unsigned char* Bytes(const std::string& AText)
    {
        return reinterpret_cast<const unsigned char*>(AText.data());
    }

    std::string FSigned;
    std::string FSignature;
    EVP_PKEY* FKey;
};

} // namespace

int main()
{
    const Zn::Tests::TokenSigner Signer;
    const std::string Token = Signer.Sign(
        R"({"alg":"RS256","typ":"JWT","kid":"key-2041"})",
        R"({"sub":"ada","name":"Ada","email":"ada@example.com","roles":["Member"],"nonce":"myRh9Li8zxQo9gXZT9Lq6yGXb9k",)"
        R"("aud":"site","exp":1795404111,"iat":1795400511,"iss":"https://id.example.com"})",
        "SHA256");
    TZnHTTPServer Server(nullptr);
    TZnHTTPServerOIDC& Provider = Server.GetOpenIDConnect();
    Provider.AddKeys(Signer.KeySet("key-2041"));
    const auto Ours = [&] { const TZnJWT Checked(Token, Provider); };
    const RawCheck Raw(Token, Signer.Key());
    Time(Ours);
    Time(Raw);

    std::vector<double> OurTimes;
    std::vector<double> RawTimes;
    for (int Turn = 0; Turn < cTurns; ++Turn) {
        OurTimes.push_back(Time(Ours));
        RawTimes.push_back(Time(Raw));
    }
    const double OurTime = Median(OurTimes) / cChecks;
    const double RawTime = Median(RawTimes) / cChecks;
    std::printf("TZnJWT: %.0f tokens/s; OpenSSL's check of the signature: %.0f/s; ratio %.2f\n", 1 / OurTime,
                1 / RawTime, RawTime / OurTime);
    return 0;
}
