#include "tools/zn/UserFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/Exceptions.h"
#include "common/Hash.h"
#include "common/Streams.h"
#include "common/System.h"
#include "common/Text.h"
#include "platform/errors/Errors.h"

namespace Zn
{

namespace
{

constexpr std::size_t cHashLength = 32;
constexpr std::int64_t cLargestFile = 64 << 20;

std::string ReadAll(const std::string& AFileName)
{
    TFileStream File(AFileName, fmOpenRead | fmShareDenyNone);
    if (File.GetSize() > cLargestFile)
        throw Exception(AFileName + " is too large for a file of accounts.");
    std::string Text(static_cast<std::size_t>(File.GetSize()), '\0');
    File.ReadBuffer(Text.data(), static_cast<std::int64_t>(Text.size()));
    return Text;
}

bool IsHash(std::string_view AText)
{
    return AText.size() == cHashLength &&
           AText.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
}

bool HasControls(std::string_view AText)
{
    return std::any_of(AText.begin(), AText.end(),
                       [](unsigned char Char) { return Char < 0x20 || Char == 0x7F; });
}

/// A name as a line can hold it.
void CheckName(const char* AWhat, const std::string& AName)
{
    if (AName.empty() || AName.find(':') != std::string::npos || HasControls(AName) || AName != ZnTrim(AName))
        throw Exception(
            std::string("The ") + AWhat +
            " can't be empty, hold a colon or a control character, or begin or end with a blank.");
}

[[noreturn]] void FailWriting(const std::string& AFileName)
{
    throw Exception("Cannot write " + AFileName + ": " + SysErrorMessage(FromErrno(errno)));
}

/// A file beside the one that it replaces, gone again unless it did.
class TReplacement
{
public:
    explicit TReplacement(const std::string& ATarget) : FTarget(ATarget), FName(ATarget + ".XXXXXX")
    {
        FFd = mkostemp(FName.data(), O_CLOEXEC); // mode 0600
        if (FFd < 0)
            FailWriting(FTarget);
    }
    ~TReplacement()
    {
        if (FFd < 0)
            return;
        close(FFd);
        unlink(FName.c_str());
    }
    TReplacement(const TReplacement&) = delete;
    TReplacement& operator=(const TReplacement&) = delete;

    void Write(std::string_view AText)
    {
        while (!AText.empty()) {
            const ssize_t Written = write(FFd, AText.data(), AText.size());
            if (Written < 0 && errno != EINTR)
                FailWriting(FTarget);
            if (Written > 0)
                AText.remove_prefix(static_cast<std::size_t>(Written));
        }
    }

    void Commit()
    {
        if (fsync(FFd) != 0 || rename(FName.c_str(), FTarget.c_str()) != 0)
            FailWriting(FTarget);
        close(std::exchange(FFd, -1));
    }

private:
    std::string FTarget;
    std::string FName;
    int FFd;
};

} // namespace

TUserFile::TUserFile(std::string AFileName) : FFileName(std::move(AFileName))
{
    Read(ReadAll(FFileName));
}

TUserFile TUserFile::OpenOrNew(std::string AFileName)
{
    if (std::filesystem::exists(AFileName))
        return TUserFile(std::move(AFileName));
    TUserFile File;
    File.FFileName = std::move(AFileName);
    return File;
}

void TUserFile::Read(std::string_view AText)
{
    while (!AText.empty()) {
        const std::size_t End = std::min(AText.find('\n'), AText.size());
        ReadLine(AText.substr(0, End));
        AText.remove_prefix(std::min(End + 1, AText.size()));
    }
}

void TUserFile::ReadLine(std::string_view AText)
{
    if (AText.ends_with('\r'))
        AText.remove_suffix(1);
    TLine& Line = FLines.emplace_back();
    Line.Text = AText;
    if (ZnTrimView(AText).empty() || AText.starts_with('#'))
        return;
    const std::size_t First = AText.find(':');
    const std::size_t Last = AText.rfind(':');
    if (First == std::string_view::npos || First == 0 || First == Last || !IsHash(AText.substr(Last + 1)))
        throw Exception(FFileName + ", line " + std::to_string(FLines.size()) +
                        ": not an account (user:realm:hash).");
    Line.User = AText.substr(0, First);
    Line.Realm = AText.substr(First + 1, Last - First - 1);
    Line.Hash = AText.substr(Last + 1);
}

std::string TUserFile::FirstRealm() const
{
    for (const TLine& Line : FLines)
        if (!Line.User.empty())
            return Line.Realm;
    return {};
}

std::unordered_map<std::string, std::string> TUserFile::HashesOf(std::string_view ARealm) const
{
    std::unordered_map<std::string, std::string> Hashes;
    for (const TLine& Line : FLines)
        if (!Line.User.empty() && Line.Realm == ARealm)
            Hashes.emplace(Line.User, Line.Hash); // the first of like-named ones stays
    return Hashes;
}

bool TUserFile::Set(const std::string& AUser, const std::string& ARealm, const std::string& APassword)
{
    CheckName("user name", AUser);
    if (AUser.starts_with('#'))
        throw Exception("A user name can't begin with \"#\".");
    CheckName("realm", ARealm);
    if (APassword.empty() || HasControls(APassword))
        throw Exception("The password can't be empty or hold a control character.");
    TLine New{{}, AUser, ARealm, MD5Hash(AUser + ":" + ARealm + ":" + APassword)};
    New.Text = New.User + ":" + New.Realm + ":" + New.Hash;
    const auto Found = std::find_if(FLines.begin(), FLines.end(), [&](const TLine& ALine) {
        return ALine.User == AUser && ALine.Realm == ARealm;
    });
    const bool Known = Found != FLines.end();
    if (Known)
        *Found = std::move(New);
    else
        FLines.push_back(std::move(New));
    return Known;
}

void TUserFile::Save() const
{
    std::string Text;
    for (const TLine& Line : FLines)
        Text.append(Line.Text).append(1, '\n');
    std::error_code Failed; // a link stays one: what it points to is replaced
    const auto Target = std::filesystem::weakly_canonical(FFileName, Failed);
    TReplacement Replacement(Failed ? FFileName : Target.string());
    Replacement.Write(Text);
    Replacement.Commit();
}

} // namespace Zn
