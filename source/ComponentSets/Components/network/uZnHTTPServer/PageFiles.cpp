#include "uZnHTTPServer/PageFiles.h"

#include <chrono>
#include <filesystem>
#include <span>

#include "common/Exceptions.h"

namespace Zn
{
namespace
{

constexpr std::int64_t cSettled = 2'000'000'000; // ns
constexpr std::int64_t cOverhead = 256;          // bytes an entry takes beside its name and content

/// Reads from bytes that others read as well.
class KeptStream : public TZnMemoryStream
{
public:
    explicit KeptStream(std::shared_ptr<const std::string> AContent)
        : TZnMemoryStream(std::as_bytes(std::span(*AContent))), FContent(std::move(AContent))
    {
    }

private:
    std::shared_ptr<const std::string> FContent;
};

std::int64_t SystemTime()
{
    using std::chrono::duration_cast, std::chrono::nanoseconds, std::chrono::system_clock;
    return duration_cast<nanoseconds>(system_clock::now().time_since_epoch()).count();
}

} // namespace

PageFiles::PageFiles() : PageFiles(SystemTime) {}

std::unique_ptr<TStream> PageFiles::Open(const std::string& AFileName)
{
    const std::optional<FileVersion> Version = VersionOf(AFileName);
    if (!Version) {
        std::error_code Ignored;
        if (std::filesystem::is_fifo(AFileName, Ignored))
            throw EFOpenError("Cannot open file \"" + AFileName + "\". It is a pipe.");
    } else if (Bytes Kept = Find(AFileName, *Version)) {
        return std::make_unique<KeptStream>(std::move(Kept));
    }

    auto File = std::make_unique<TFileStream>(AFileName, fmOpenRead | fmShareDenyNone);
    if (!Version || !MayBeKept(*Version))
        return File;
    std::string Content(static_cast<std::size_t>(Version->Length), '\0');
    const bool Whole = File->Read(Content.data(), Version->Length) == Version->Length;
    File->SetPosition(0);
    // Of the opened file, once it is read: neither replaced nor written to since it was asked for.
    if (!Whole || VersionOf(FdFromHandle(File->Handle())) != Version)
        return File;
    auto Kept = std::make_shared<const std::string>(std::move(Content));
    Keep({AFileName, *Version, Kept});
    return std::make_unique<KeptStream>(std::move(Kept));
}

bool PageFiles::MayBeKept(const FileVersion& AVersion) const
{
    return AVersion.Length <= cLongestKept && AVersion.Changed < FClock() - cSettled;
}

PageFiles::Bytes PageFiles::Find(const std::string& AName, const FileVersion& AVersion)
{
    const TZnLockGuard Guard(FLock);
    const auto Found = FByName.find(AName);
    if (Found == FByName.end())
        return nullptr;
    if (Found->second->Version != AVersion) {
        Forget(Found->second);
        return nullptr;
    }
    FEntries.splice(FEntries.begin(), FEntries, Found->second);
    return Found->second->Content;
}

void PageFiles::Keep(Entry AEntry)
{
    const TZnLockGuard Guard(FLock);
    if (const auto Found = FByName.find(AEntry.Name); Found != FByName.end())
        Forget(Found->second); // another worker was first
    FUsed += AEntry.Room();
    FEntries.push_front(std::move(AEntry));
    FByName.emplace(FEntries.front().Name, FEntries.begin());
    while (FUsed > cRoom)
        Forget(std::prev(FEntries.end()));
}

void PageFiles::Forget(Entries::iterator AEntry)
{
    FUsed -= AEntry->Room();
    FByName.erase(AEntry->Name);
    FEntries.erase(AEntry);
}

std::int64_t PageFiles::Entry::Room() const
{
    return static_cast<std::int64_t>(Name.size() + Content->size()) + cOverhead;
}

} // namespace Zn
