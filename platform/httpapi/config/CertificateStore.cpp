#include "platform/httpapi/config/CertificateStore.h"

#include <algorithm>
#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

#include "platform/errors/Errors.h"
#include "platform/state/StateFolder.h"

namespace Zn
{
namespace
{

constexpr std::size_t MaxFileLength = 1 << 20;
constexpr mode_t KeyMode = 0600;
constexpr mode_t KeyFolderMode = 0700;

bool IsLetterOrDigit(char AChar)
{
    return (AChar >= '0' && AChar <= '9') || (AChar >= 'a' && AChar <= 'z') || (AChar >= 'A' && AChar <= 'Z');
}

/// The name of the store's folder.
std::string FolderName(const std::string& AStore)
{
    std::string Result = AStore.empty() ? CertificateStore::DefaultName : AStore;
    for (char& Each : Result)
        if (Each >= 'A' && Each <= 'Z')
            Each = static_cast<char>(Each - 'A' + 'a');
    return Result;
}

std::string Root()
{
    return StateFolder() + "/certificates";
}

/// The names in a folder that AWanted takes, sorted; none where it can't be read.
template <class TWanted>
std::vector<std::string> NamesIn(const std::string& AFolder, TWanted AWanted)
{
    std::vector<std::string> Result;
    std::error_code Error;
    for (std::filesystem::directory_iterator At(AFolder, Error), End; !Error && At != End;
         At.increment(Error))
        if (AWanted(*At))
            Result.push_back(At->path().filename().string());
    std::sort(Result.begin(), Result.end());
    return Result;
}

std::vector<std::string> PemFilesIn(const std::string& AFolder)
{
    return NamesIn(AFolder, [](const auto& AEntry) { return AEntry.path().extension() == ".pem"; });
}

std::vector<std::string> StoreNames()
{
    return NamesIn(Root(), [](const auto& AEntry) {
        std::error_code Error;
        const std::string Name = AEntry.path().filename().string();
        return AEntry.is_directory(Error) && IsStoreName(Name) && FolderName(Name) == Name;
    });
}

std::uint32_t Read(const std::string& APath, CertificateContent& AResult)
{
    std::string Text;
    if (const std::uint32_t Result = ReadFile(APath, MaxFileLength, Text); Result != NO_ERROR)
        return Result;
    return ReadCertificateText(Text, AResult) ? NO_ERROR : ERROR_INVALID_DATA;
}

/// Reads the certificate where it is expected, else wherever in the store it is. 1312 where it isn't.
std::uint32_t Find(const std::string& AFolder, const std::string& AThumbprint, CertificateContent& AResult)
{
    const std::uint32_t Expected = Read(AFolder + "/" + AThumbprint + ".pem", AResult);
    if (Expected == NO_ERROR && AResult.Thumbprint == AThumbprint)
        return NO_ERROR;
    for (const std::string& Name : PemFilesIn(AFolder))
        if (Read(AFolder + "/" + Name, AResult) == NO_ERROR && AResult.Thumbprint == AThumbprint)
            return NO_ERROR;
    return Expected == ERROR_ACCESS_DENIED || Expected == ERROR_INVALID_DATA ? Expected
                                                                             : ERROR_NO_SUCH_LOGON_SESSION;
}

} // namespace

bool IsStoreName(std::string_view AName)
{
    return !AName.empty() && AName.size() <= 64 && IsLetterOrDigit(AName.front()) &&
           IsLetterOrDigit(AName.back()) && std::all_of(AName.begin(), AName.end(), [](char AChar) {
               return IsLetterOrDigit(AChar) || AChar == '-' || AChar == '_' || AChar == '.' || AChar == ' ';
           });
}

bool IsThumbprint(std::string_view AText)
{
    return AText.size() == 40 && std::all_of(AText.begin(), AText.end(), [](char AChar) {
               return (AChar >= '0' && AChar <= '9') || (AChar >= 'a' && AChar <= 'f');
           });
}

std::vector<CertificateStore::Entry> CertificateStore::List(const std::string& AStore)
{
    std::vector<Entry> Result;
    const std::vector<std::string> Stores =
        AStore.empty() ? StoreNames() : std::vector<std::string>{FolderName(AStore)};
    for (const std::string& Store : Stores) {
        if (!IsStoreName(Store))
            continue;
        const std::string Folder = Root() + "/" + Store;
        for (const std::string& Name : PemFilesIn(Folder)) {
            Entry Next{Store, Name, {}};
            if (Read(Folder + "/" + Name, Next.Content) == NO_ERROR)
                Result.push_back(std::move(Next));
        }
    }
    return Result;
}

std::uint32_t CertificateStore::Add(const std::string& AStore, std::string_view AText,
                                    std::string& AThumbprint)
{
    const std::string Store = FolderName(AStore);
    CertificateContent Content;
    if (!IsStoreName(Store))
        return ERROR_INVALID_NAME;
    if (AText.size() > MaxFileLength || !ReadCertificateText(AText, Content))
        return ERROR_INVALID_DATA;
    if (Content.Pem.Key.empty())
        return ERROR_NO_SUCH_LOGON_SESSION;
    const StateLock Lock;
    if (Lock.Error() != NO_ERROR)
        return Lock.Error();
    for (const std::string& Folder : {Root(), Root() + "/" + Store})
        if (const std::uint32_t Result = MakeFolder(Folder, KeyFolderMode); Result != NO_ERROR)
            return Result;
    AThumbprint = Content.Thumbprint;
    return ReplaceFile(Root() + "/" + Store + "/" + AThumbprint + ".pem",
                       Content.Pem.Certificate + Content.Pem.Key, KeyMode);
}

std::uint32_t CertificateStore::Remove(const std::string& AStore, const std::string& AThumbprint)
{
    const std::string Store = FolderName(AStore);
    if (!IsStoreName(Store))
        return ERROR_INVALID_NAME;
    const StateLock Lock;
    if (Lock.Error() != NO_ERROR)
        return Lock.Error();
    std::uint32_t Result = ERROR_FILE_NOT_FOUND;
    for (const Entry& Each : List(Store))
        if (Each.Content.Thumbprint == AThumbprint) {
            if (unlink((Root() + "/" + Store + "/" + Each.File).c_str()) != 0)
                return FromErrno(errno);
            Result = NO_ERROR;
        }
    return Result;
}

std::uint32_t LoadCertificate(const std::string& AStore, const std::string& AThumbprint, PemFiles& AResult)
{
    const std::string Store = FolderName(AStore);
    CertificateContent Content;
    AResult = {};
    if (!IsStoreName(Store))
        return ERROR_INVALID_NAME;
    if (!IsThumbprint(AThumbprint))
        return ERROR_NO_SUCH_LOGON_SESSION;
    if (const std::uint32_t Result = Find(Root() + "/" + Store, AThumbprint, Content); Result != NO_ERROR)
        return Result;
    if (Content.Pem.Key.empty())
        return ERROR_NO_SUCH_LOGON_SESSION;
    AResult = std::move(Content.Pem);
    return NO_ERROR;
}

std::vector<PemFiles> LoadAllCertificates(const std::string& AStore)
{
    std::vector<PemFiles> Result;
    for (CertificateStore::Entry& Each :
         CertificateStore::List(AStore.empty() ? CertificateStore::DefaultName : AStore))
        if (!Each.Content.Pem.Key.empty())
            Result.push_back(std::move(Each.Content.Pem));
    return Result;
}

} // namespace Zn
