#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "common/Locks.h"
#include "common/Streams.h"
#include "uZnHTTPServer/FileVersion.h"

namespace Zn
{

/// Opens the files that pages are made of, and keeps small ones in memory: a page with twenty includes would
/// otherwise spend more time on opening them than on everything else.
///
/// A kept file is given only while its name stands for the same version, which one stat() tells; a change is
/// seen by the next Open. A file that changed within the last two seconds isn't kept: times of files may be
/// as coarse as that, so that the next change could look like none. Any thread.
class PageFiles
{
public:
    /// Nanoseconds since 1970, as files have them.
    using Clock = std::function<std::int64_t()>;

    PageFiles();
    explicit PageFiles(Clock AClock) : FClock(std::move(AClock)) {}

    /// AFileName for reading. EFileNotFoundException, EFOpenError; EFOpenError for a named pipe too, as to
    /// open one is to wait for its writer.
    std::unique_ptr<TStream> Open(const std::string& AFileName);

    static constexpr std::int64_t cLongestKept = 256 * 1024; // bytes
    static constexpr std::int64_t cRoom = 16 << 20;          // bytes, of all kept files with their names

private:
    using Bytes = std::shared_ptr<const std::string>;
    struct Entry
    {
        std::string Name;
        FileVersion Version;
        Bytes Content;

        std::int64_t Room() const;
    };
    using Entries = std::list<Entry>; // the one used last in front

    bool MayBeKept(const FileVersion& AVersion) const;
    Bytes Find(const std::string& AName, const FileVersion& AVersion);
    void Keep(Entry AEntry);
    void Forget(Entries::iterator AEntry) ZN_REQUIRES(FLock);

    const Clock FClock;
    TZnCriticalSection FLock;
    Entries FEntries ZN_GUARDED_BY(FLock);
    std::unordered_map<std::string_view, Entries::iterator>
        FByName ZN_GUARDED_BY(FLock); // views of Entry::Name
    std::int64_t FUsed ZN_GUARDED_BY(FLock) = 0;
};

} // namespace Zn
