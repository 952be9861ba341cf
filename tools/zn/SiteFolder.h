#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Zn
{

/// A file descriptor that is closed with its holder.
class TFileDescriptor
{
public:
    TFileDescriptor() = default;
    explicit TFileDescriptor(int AFd) : FFd(AFd) {}
    TFileDescriptor(TFileDescriptor&& AOther) noexcept : FFd(std::exchange(AOther.FFd, -1)) {}
    TFileDescriptor& operator=(TFileDescriptor&& AOther) noexcept;
    ~TFileDescriptor();

    int Get() const { return FFd; }
    explicit operator bool() const { return FFd >= 0; }

private:
    int FFd = -1;
};

enum class TEntryKind { File, Folder, Other };

/// An open file or folder below the served one, with what it was when it was opened.
struct TSiteEntry
{
    TFileDescriptor Fd; // nothing opened when it holds none: see Error
    int Error = 0;      // errno of the failed open
    TEntryKind Kind = TEntryKind::Other;
    std::uint64_t Size = 0;
    timespec Modified{};

    /// A name under which the open file can be opened again. It stays this very file even when its place
    /// in the folder has changed hands since. Valid while Fd is open.
    std::string ReopenName() const;
};

/// One line of a folder's listing.
struct TFolderItem
{
    std::string Name;
    bool IsFolder = false;
    std::uint64_t Size = 0; // files only
    std::time_t Modified = 0;
};

/// The folder that is served. Nothing outside it can be opened through this class: names are resolved
/// by the kernel below the open folder, where a "..", an absolute symbolic link or one that points
/// out ends the resolution, also while somebody moves things about. Any thread.
class TSiteFolder
{
public:
    /// Opens APath; raises EFOpenError with the reason.
    explicit TSiteFolder(const std::string& APath);

    /// The folder's path without symbolic links.
    const std::string& Path() const { return FPath; }

    /// Opens a file or folder for reading. ARelativePath has no leading "/"; empty is the folder itself.
    TSiteEntry Open(const std::string& ARelativePath) const;

    /// What the folder AFolder, found at ARelativePath, shows of itself: regular files and folders whose
    /// names are no hidden ones. Unordered. Links that lead nowhere or out aren't listed.
    std::vector<TFolderItem> List(const TSiteEntry& AFolder, const std::string& ARelativePath) const;

    /// Names that are neither listed nor served: those with a leading dot, but for ".well-known" (RFC 8615).
    static bool IsHidden(std::string_view AName);

private:
    std::string FPath;
    TFileDescriptor FRoot;
};

} // namespace Zn
