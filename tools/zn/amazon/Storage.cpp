#include <cstdio>
#include <filesystem>
#include <optional>

#include "common/Exceptions.h"
#include "tools/zn/Commands.h"
#include "tools/zn/amazon/Amazon.h"
#include "tools/zn/request/OutputStream.h"
#include "tools/zn/request/ProgressBar.h"
#include "uZnAmazonClient.h"

namespace Zn
{

namespace
{

constexpr const char* cCommand = "zn s3";
constexpr const char* cService = "s3";

/// Path with a key, or what is wrong with it.
TStoragePath ObjectPath(const std::string& AText)
{
    const TStoragePath Result = StoragePath(AText);
    if (Result.Bucket.empty() || Result.Key.empty())
        throw EInvalidArgument("\"" + AText + "\" is no BUCKET/KEY");
    return Result;
}

std::string LastPart(const std::string& APath)
{
    return APath.substr(APath.rfind('/') + 1);
}

/// A file on its way into storage. It is read twice to be signed; the bar shows how far it is sent.
class TUploadStream : public TFileStream
{
public:
    explicit TUploadStream(const std::string& AFileName) : TFileStream(AFileName, fmOpenRead) {}

    std::int64_t Read(void* ABuffer, std::int64_t ACount) override
    {
        constexpr int cSigningPasses = 2;
        if (GetPosition() == 0 && ++FPasses > cSigningPasses && TProgressBar::Wanted(true))
            FBar.emplace();
        const std::int64_t Count = TFileStream::Read(ABuffer, ACount);
        if (FBar)
            FBar->Advance(Count, GetSize());
        return Count;
    }

private:
    int FPasses = 0;
    std::optional<TProgressBar> FBar;
};

/// A file that takes its name when it is whole; until then, and where that never happens, it is NAME.part.
class TNewFile
{
public:
    explicit TNewFile(std::string AName)
        : FName(std::move(AName)), FStream(std::make_unique<TFileStream>(FName + ".part", fmCreate))
    {
    }
    ~TNewFile()
    {
        std::error_code Ignored;
        if (FStream)
            std::filesystem::remove(FName + ".part", Ignored);
    }
    TNewFile(const TNewFile&) = delete;
    TNewFile& operator=(const TNewFile&) = delete;

    TStream& Stream() { return *FStream; }
    void Keep()
    {
        std::filesystem::rename(FName + ".part", FName);
        FStream.reset();
    }

private:
    std::string FName;
    std::unique_ptr<TFileStream> FStream;
};

} // namespace

int GetFromStorage(const TAmazonAccount& AAccount, const std::string& APath, const std::string& AFile)
{
    return WithAmazonClient(cCommand, AAccount, cService, [&](TZnAmazonClient& AClient) {
        const TStoragePath Path = ObjectPath(APath);
        const std::string Name = AFile.empty() ? LastPart(Path.Key) : AFile;
        if (Name.empty())
            throw EInvalidArgument("the key ends in \"/\": name a file to write to");
        std::optional<TProgressBar> Bar;
        if (TProgressBar::Wanted(Name != "-"))
            Bar.emplace();
        AClient.SetOnProgress([&](TObject*, TStream*, std::int64_t ACount, std::int64_t ATotal) {
            if (Bar)
                Bar->Advance(ACount, ATotal);
        });
        if (Name == "-") {
            TOutputStream Output;
            AClient.Get(Path.Bucket, Path.Key, Output);
            if (std::fflush(stdout) != 0)
                throw EWriteError("the output could not be written");
            return cExitOk;
        }
        TNewFile File(Name);
        AClient.Get(Path.Bucket, Path.Key, File.Stream());
        File.Keep();
        return cExitOk;
    });
}

int PutIntoStorage(const TAmazonAccount& AAccount, const std::string& AFile, const std::string& APath)
{
    return WithAmazonClient(cCommand, AAccount, cService, [&](TZnAmazonClient& AClient) {
        TStoragePath Path = StoragePath(APath);
        if (Path.Key.empty() || Path.Key.ends_with('/'))
            Path.Key += LastPart(AFile);
        ObjectPath(Path.Bucket + "/" + Path.Key);
        TUploadStream File(AFile);
        AClient.SetContentType("application/octet-stream");
        AClient.Execute(Path.Bucket, httpPUT, &File, Path.Key);
        return cExitOk;
    });
}

int RemoveFromStorage(const TAmazonAccount& AAccount, const std::string& APath)
{
    return WithAmazonClient(cCommand, AAccount, cService, [&](TZnAmazonClient& AClient) {
        const TStoragePath Path = ObjectPath(APath);
        AClient.Delete(Path.Bucket, Path.Key);
        return cExitOk;
    });
}

int PresignStorage(const TAmazonAccount& AAccount, const std::string& APath, bool AForWriting,
                   std::chrono::seconds AExpires)
{
    return WithAmazonClient(cCommand, AAccount, cService, [&](TZnAmazonClient& AClient) {
        const TStoragePath Path = ObjectPath(APath);
        const std::string URL =
            AClient.PresignURL(AForWriting ? httpPUT : httpGET, Path.Bucket, Path.Key, AExpires);
        std::printf("%s\n", URL.c_str());
        return cExitOk;
    });
}

} // namespace Zn
