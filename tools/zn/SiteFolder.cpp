#include "tools/zn/SiteFolder.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <memory>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "common/Exceptions.h"

namespace Zn
{

namespace
{

// O_NONBLOCK: opening a pipe somebody left in the folder must not wait for a writer.
constexpr int cOpenFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

/// For kernels and sandboxes without openat2: step by step, and no symbolic link at all is followed.
int OpenWithoutLinks(int ARoot, const std::string& APath)
{
    TFileDescriptor Folder;
    std::size_t Start = 0;
    while (true) {
        const std::size_t Slash = APath.find('/', Start);
        const std::string Name = APath.substr(Start, Slash - Start);
        if (Name == "..") {
            errno = EXDEV;
            return -1;
        }
        const int From = Folder ? Folder.Get() : ARoot;
        const bool Last = Slash == std::string::npos;
        const int Fd = openat(From, Name.c_str(), O_NOFOLLOW | (Last ? cOpenFlags : O_PATH | O_CLOEXEC));
        if (Fd < 0 || Last)
            return Fd;
        Folder = TFileDescriptor(Fd);
        Start = Slash + 1;
    }
}

int OpenBeneath(int ARoot, const std::string& APath)
{
    open_how How{};
    How.flags = cOpenFlags;
    How.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
    // EAGAIN: a rename elsewhere made the kernel unsure whether a ".." in a link stayed below the root.
    for (int Attempt = 0; Attempt < 16; ++Attempt) {
        const long Fd = syscall(SYS_openat2, ARoot, APath.c_str(), &How, sizeof(How));
        if (Fd >= 0 || (errno != EAGAIN && errno != EINTR)) {
            if (Fd < 0 && (errno == ENOSYS || errno == EPERM))
                return OpenWithoutLinks(ARoot, APath);
            return static_cast<int>(Fd);
        }
    }
    return -1;
}

TEntryKind KindOf(const struct stat& AStat)
{
    if (S_ISREG(AStat.st_mode))
        return TEntryKind::File;
    return S_ISDIR(AStat.st_mode) ? TEntryKind::Folder : TEntryKind::Other;
}

struct TDirCloser
{
    void operator()(DIR* ADir) const { closedir(ADir); }
};

} // namespace

TFileDescriptor& TFileDescriptor::operator=(TFileDescriptor&& AOther) noexcept
{
    std::swap(FFd, AOther.FFd);
    return *this;
}

TFileDescriptor::~TFileDescriptor()
{
    if (FFd >= 0)
        close(FFd);
}

std::string TSiteEntry::ReopenName() const
{
    return "/proc/self/fd/" + std::to_string(Fd.Get());
}

TSiteFolder::TSiteFolder(const std::string& APath)
    : FRoot(open(APath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    if (!FRoot)
        throw EFOpenError("Cannot open the folder \"" + APath + "\": " + std::strerror(errno));
    const std::unique_ptr<char, decltype(&std::free)> Resolved(realpath(APath.c_str(), nullptr), &std::free);
    FPath = Resolved ? Resolved.get() : APath;
}

TSiteEntry TSiteFolder::Open(const std::string& ARelativePath) const
{
    TSiteEntry Entry;
    Entry.Error = ENOENT;
    if (ARelativePath.find('\0') != std::string::npos)
        return Entry; // the system would read the name up to it
    Entry.Fd = TFileDescriptor(OpenBeneath(FRoot.Get(), ARelativePath.empty() ? "." : ARelativePath));
    struct stat Stat
    {
    };
    if (!Entry.Fd || fstat(Entry.Fd.Get(), &Stat) != 0) {
        Entry.Error = errno;
        return Entry;
    }
    Entry.Kind = KindOf(Stat);
    Entry.Size = static_cast<std::uint64_t>(Stat.st_size);
    Entry.Modified = Stat.st_mtim;
    return Entry;
}

std::vector<TFolderItem> TSiteFolder::List(const TSiteEntry& AFolder, const std::string& ARelativePath) const
{
    std::vector<TFolderItem> Items;
    // A descriptor of its own: reading a folder moves the position that all its duplicates share.
    const int Fd = openat(AFolder.Fd.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::unique_ptr<DIR, TDirCloser> Dir(Fd < 0 ? nullptr : fdopendir(Fd));
    if (!Dir) {
        const TFileDescriptor Unused(Fd);
        return Items;
    }
    while (const dirent* Name = readdir(Dir.get())) {
        struct stat Stat
        {
        };
        if (IsHidden(Name->d_name) || fstatat(Fd, Name->d_name, &Stat, AT_SYMLINK_NOFOLLOW) != 0)
            continue;
        TFolderItem Item{.Name = Name->d_name,
                         .IsFolder = S_ISDIR(Stat.st_mode),
                         .Size = static_cast<std::uint64_t>(Stat.st_size),
                         .Modified = Stat.st_mtim.tv_sec};
        if (S_ISLNK(Stat.st_mode)) {
            const TSiteEntry Target =
                Open(ARelativePath.empty() ? Item.Name : ARelativePath + "/" + Item.Name);
            if (!Target.Fd || Target.Kind == TEntryKind::Other)
                continue;
            Item.IsFolder = Target.Kind == TEntryKind::Folder;
            Item.Size = Target.Size;
            Item.Modified = Target.Modified.tv_sec;
        } else if (KindOf(Stat) == TEntryKind::Other) {
            continue;
        }
        Items.push_back(std::move(Item));
    }
    return Items;
}

bool TSiteFolder::IsHidden(std::string_view AName)
{
    return AName.starts_with('.') && AName != ".well-known";
}

} // namespace Zn
