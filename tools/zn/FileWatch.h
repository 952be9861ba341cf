#pragma once

#include <string>
#include <tuple>
#include <vector>

namespace Zn
{

/// Tells when one of some files has become another, by its place, size and times. One thread.
class TFileWatch
{
public:
    /// What the files are now counts as known.
    explicit TFileWatch(std::vector<std::string> AFiles);

    /// True once for each change, when the files have stood still since the last look: a certificate and its
    /// key are written one after the other.
    bool HasChanged();
    /// What the files are now has been read.
    void Acknowledge();

private:
    using TIdentity = std::tuple<unsigned long, unsigned long, long, long, long>;
    std::vector<TIdentity> Look() const;

    std::vector<std::string> FFiles;
    std::vector<TIdentity> FKnown;
    std::vector<TIdentity> FSeen;
};

} // namespace Zn
