#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Zn
{

/// Accounts in a text file, "user:realm:HA1" a line, as the digest password files of web servers have them.
/// HA1 is MD5 over "user:realm:password" in hexadecimal. Empty lines and those that begin with "#" are kept
/// and mean nothing. Errors are Exceptions that tell file and line, and never a hash.
class TUserFile
{
public:
    /// Reads the file. Raises EFOpenError, and Exception for a line that is no account.
    explicit TUserFile(std::string AFileName);
    /// The same, but a file that isn't there is an empty one.
    static TUserFile OpenOrNew(std::string AFileName);

    /// User names with their HA1; of like-named accounts the first.
    std::unordered_map<std::string, std::string> HashesOf(std::string_view ARealm) const;
    /// Of the first account; empty without one.
    std::string FirstRealm() const;

    /// Adds the account, or gives it another password and returns true. Raises Exception for a name or realm
    /// that the format can't hold and for an empty password.
    bool Set(const std::string& AUser, const std::string& ARealm, const std::string& APassword);
    /// Writes the file anew, for its owner's eyes only: a reader finds the old content or the new one.
    void Save() const;

private:
    struct TLine
    {
        std::string Text; // as it stands in the file
        std::string User; // empty: no account
        std::string Realm;
        std::string Hash;
    };

    TUserFile() = default;
    void Read(std::string_view AText);
    void ReadLine(std::string_view AText);

    std::string FFileName;
    std::vector<TLine> FLines;
};

} // namespace Zn
