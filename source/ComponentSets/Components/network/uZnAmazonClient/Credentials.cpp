#include "uZnAmazonClient/Credentials.h"

#include <algorithm>
#include <cstdlib>

#include "common/Exceptions.h"
#include "common/Streams.h"
#include "common/Text.h"

namespace
{

std::string Environment(const char* AName)
{
    const char* const Value = std::getenv(AName);
    return Value == nullptr ? std::string() : Value;
}

void TakeIfEmpty(std::string& AField, std::string_view AValue)
{
    if (AField.empty())
        AField = AValue;
}

/// A file of the user's; empty where there is none.
std::string FileText(const char* AVariable, const char* ADefault)
{
    constexpr std::int64_t cMaxLength = 1 << 20;
    std::string Name = Environment(AVariable);
    if (Name.empty() && !Environment("HOME").empty())
        Name = Environment("HOME") + ADefault;
    if (Name.empty())
        return {};
    try {
        TFileStream File(Name, fmOpenRead);
        if (File.GetSize() > cMaxLength)
            throw Exception("The file \"" + Name + "\" is too long for a file of credentials!");
        std::string Text(static_cast<std::size_t>(File.GetSize()), '\0');
        Text.resize(static_cast<std::size_t>(File.Read(Text.data(), File.GetSize())));
        return Text;
    } catch (const EFileNotFoundException&) {
        return {};
    }
}

/// The name of a section's line; empty for any other line.
std::string_view SectionName(std::string_view ALine)
{
    constexpr std::string_view cPrefix = "profile ";
    if (ALine.size() < 2 || ALine.front() != '[' || ALine.back() != ']')
        return {};
    std::string_view Name = ZnTrimView(ALine.substr(1, ALine.size() - 2));
    if (Name.starts_with(cPrefix))
        Name = ZnTrimView(Name.substr(cPrefix.size()));
    return Name;
}

void TakeSetting(std::string_view ALine, TZnAmazonCredentials& AResult)
{
    const std::size_t Equals = ALine.find(cZnEquals);
    if (Equals == std::string_view::npos)
        return;
    const std::string_view Name = ZnTrimView(ALine.substr(0, Equals));
    const std::string_view Value = ZnTrimView(ALine.substr(Equals + 1));
    if (SameText(Name, "aws_access_key_id"))
        TakeIfEmpty(AResult.AccessKeyID, Value);
    else if (SameText(Name, "aws_secret_access_key"))
        TakeIfEmpty(AResult.AccessKey, Value);
    else if (SameText(Name, "aws_session_token"))
        TakeIfEmpty(AResult.SessionToken, Value);
    else if (SameText(Name, "region"))
        TakeIfEmpty(AResult.Region, Value);
}

TZnAmazonCredentials FromEnvironment()
{
    TZnAmazonCredentials Result;
    Result.AccessKeyID = Environment("AWS_ACCESS_KEY_ID");
    Result.AccessKey = Environment("AWS_SECRET_ACCESS_KEY");
    Result.SessionToken = Environment("AWS_SESSION_TOKEN");
    return Result.IsComplete() ? Result : TZnAmazonCredentials();
}

} // namespace

void Zn::ReadProfile(std::string_view AText, std::string_view AProfile, TZnAmazonCredentials& AResult)
{
    bool IsInProfile = false;
    while (!AText.empty()) {
        const std::size_t End = std::min(AText.find('\n'), AText.size());
        const std::string_view Line = ZnTrimView(AText.substr(0, End));
        AText.remove_prefix(std::min(End + 1, AText.size()));
        if (Line.empty() || Line.front() == '#' || Line.front() == ';')
            continue;
        if (Line.front() == '[')
            IsInProfile = SectionName(Line) == AProfile;
        else if (IsInProfile)
            TakeSetting(Line, AResult);
    }
}

std::optional<TZnAmazonCredentials> ZnLoadAmazonCredentials(const std::string& AProfile)
{
    // Keys and token belong together: they come from one source.
    TZnAmazonCredentials Result = AProfile.empty() ? FromEnvironment() : TZnAmazonCredentials();
    std::string Profile = AProfile.empty() ? Environment("AWS_PROFILE") : AProfile;
    if (Profile.empty())
        Profile = "default";
    const std::string Config = FileText("AWS_CONFIG_FILE", "/.aws/config");
    if (!Result.IsComplete()) {
        Result = {};
        Zn::ReadProfile(FileText("AWS_SHARED_CREDENTIALS_FILE", "/.aws/credentials"), Profile, Result);
    }
    if (!Result.IsComplete()) {
        Result = {};
        Zn::ReadProfile(Config, Profile, Result);
    }
    if (!Result.IsComplete())
        return std::nullopt;
    std::string Region = Environment("AWS_REGION");
    TakeIfEmpty(Region, Environment("AWS_DEFAULT_REGION"));
    TakeIfEmpty(Region, Result.Region);
    TZnAmazonCredentials Others;
    Zn::ReadProfile(Config, Profile, Others);
    TakeIfEmpty(Region, Others.Region);
    Result.Region = Region;
    return Result;
}
