// What signing a request costs beside the hashes it can't do without, by OpenSSL itself, in one run.
//
//     small    a request with a short body, all of BeforeSendRequest, against one SHA-256 of the canonical
//     request and
//              five keyed hashes: the key chain's four and the signature
//     large    a body of 1 GiB, against one SHA-256 of as many bytes

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <sys/resource.h>

#include "tests/unit/uZnAmazonClient/ScriptedClient.h"
#include "uZnAmazonClient.h"

namespace
{

constexpr int cRounds = 7;
constexpr int cSignatures = 20000; // of a round
constexpr std::int64_t cLength = std::int64_t{1} << 30;

/// Of this process's CPU time: other programs' work doesn't count.
double SecondsOf(const std::function<void()>& AWork)
{
    const auto Now = [] {
        timespec Time{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &Time);
        return static_cast<double>(Time.tv_sec) + static_cast<double>(Time.tv_nsec) / 1e9;
    };
    const double Start = Now();
    AWork();
    return Now() - Start;
}

double Median(std::vector<double> AValues)
{
    std::nth_element(AValues.begin(), AValues.begin() + AValues.size() / 2, AValues.end());
    return AValues[AValues.size() / 2];
}

/// Bytes without end or memory.
class TPattern : public TStream
{
public:
    explicit TPattern(std::int64_t ASize) : FSize(ASize) { FBytes.fill('z'); }

    std::int64_t Read(void* ABuffer, std::int64_t ACount) override
    {
        const std::int64_t Count =
            std::min({ACount, FSize - FPosition, static_cast<std::int64_t>(FBytes.size())});
        std::memcpy(ABuffer, FBytes.data(), static_cast<std::size_t>(Count));
        FPosition += Count;
        return Count;
    }
    std::int64_t Write(const void*, std::int64_t) override { return 0; }
    std::int64_t Seek(std::int64_t AOffset, TSeekOrigin AOrigin) override
    {
        FPosition = AOffset + (AOrigin == soBeginning ? 0 : AOrigin == soCurrent ? FPosition : FSize);
        return FPosition;
    }
    std::int64_t GetSize() const override { return FSize; }
    void SetSize(std::int64_t) override {}

private:
    std::array<char, 65536> FBytes{};
    std::int64_t FSize;
    std::int64_t FPosition = 0;
};

class TBench
{
public:
    TBench()
    {
        FClient.SetService("dynamodb");
        FClient.SetRegion("eu-central-1");
        FClient.SetAccessKeyID("AKIDEXAMPLE");
        FClient.SetAccessKey("wJalrXUtnFEMI/K7MDENG+bPxRfiCYEXAMPLEKEY");
    }

    void Small()
    {
        TStringStream Body(R"({"TableName":"roads","Key":{"id":{"S":"1234567890"}}})");
        std::vector<double> Ours;
        std::vector<double> Bare;
        for (int Round = 0; Round < cRounds; ++Round) {
            Ours.push_back(SecondsOf([&] { Sign(Body); }));
            Bare.push_back(SecondsOf([this] { Hash(); }));
        }
        const double OurRate = cSignatures / Median(Ours);
        const double BareRate = cSignatures / Median(Bare);
        std::printf("| small request | %.0f signatures/s | %.0f times six hashes/s | %.2f |\n", OurRate,
                    BareRate, OurRate / BareRate);
    }

    void Large()
    {
        TPattern Body(cLength);
        std::vector<double> Ours;
        std::vector<double> Bare;
        const long Before = PeakMemory();
        for (int Round = 0; Round < cRounds; ++Round) {
            Ours.push_back(SecondsOf([&] { FClient.BeforeSendRequest(nullptr, Request(&Body)); }));
            Bare.push_back(SecondsOf(HashLarge));
        }
        const double MiB = static_cast<double>(cLength) / (1 << 20);
        std::printf("| body of 1 GiB | %.0f MiB/s | %.0f MiB/s | %.2f |\n", MiB / Median(Ours),
                    MiB / Median(Bare), Median(Bare) / Median(Ours));
        std::printf("\nMemory gained by signing 1 GiB %d times: %ld KiB\n", cRounds, PeakMemory() - Before);
    }

private:
    static std::shared_ptr<TScriptedRequest> Request(TStream* ABody)
    {
        auto Result =
            std::make_shared<TScriptedRequest>("POST", "https://dynamodb.eu-central-1.amazonaws.com/", ABody);
        Result->AddHeader("User-Agent", "bench");
        Result->AddHeader("Content-Type", "application/x-amz-json-1.0");
        Result->AddHeader("X-Amz-Target", "DynamoDB_20120810.GetItem");
        Result->AddHeader("pragma", "no-cache");
        Result->AddHeader("Cache-control", "no-cache, no-store");
        return Result;
    }

    void Sign(TStream& ABody)
    {
        for (int Count = 0; Count < cSignatures; ++Count)
            FClient.BeforeSendRequest(nullptr, Request(&ABody));
    }

    void Hash()
    {
        const std::string Canonical(280, 'c');
        const std::string ToSign(140, 's');
        std::array<unsigned char, EVP_MAX_MD_SIZE> Digest;
        const auto Keyed = [&](const void* AKey, int AKeyLength, const std::string& AText) {
            HMAC(EVP_sha256(), AKey, AKeyLength, reinterpret_cast<const unsigned char*>(AText.data()),
                 AText.size(), Digest.data(), nullptr);
        };
        for (int Count = 0; Count < cSignatures; ++Count) {
            EVP_Digest(Canonical.data(), Canonical.size(), Digest.data(), nullptr, EVP_sha256(), nullptr);
            Keyed("AWS4wJalrXUtnFEMI/K7MDENG+bPxRfiCYEXAMPLEKEY", 44, "20150830");
            Keyed(Digest.data(), 32, "eu-central-1");
            Keyed(Digest.data(), 32, "dynamodb");
            Keyed(Digest.data(), 32, "aws4_request");
            Keyed(Digest.data(), 32, ToSign);
        }
    }

    static void HashLarge()
    {
        const std::string Bytes(65536, 'z');
        std::array<unsigned char, EVP_MAX_MD_SIZE> Digest;
        EVP_MD_CTX* const Context = EVP_MD_CTX_new();
        EVP_DigestInit_ex(Context, EVP_sha256(), nullptr);
        for (std::int64_t Done = 0; Done < cLength; Done += static_cast<std::int64_t>(Bytes.size()))
            EVP_DigestUpdate(Context, Bytes.data(), Bytes.size());
        EVP_DigestFinal_ex(Context, Digest.data(), nullptr);
        EVP_MD_CTX_free(Context);
    }

    static long PeakMemory()
    {
        rusage Usage{};
        getrusage(RUSAGE_SELF, &Usage);
        return Usage.ru_maxrss;
    }

    TZnAmazonClient FClient{nullptr};
};

} // namespace

int main()
{
    std::printf("| what | signed here | by OpenSSL alone | ratio |\n|---|---|---|---|\n");
    TBench Bench;
    Bench.Small();
    Bench.Large();
    return 0;
}
