#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/Api.h"

/// An access key with what belongs to it. AccessKey and SessionToken are secrets: never to be logged.
struct TZnAmazonCredentials
{
    /// The key's name.
    std::string AccessKeyID;
    /// The secret.
    std::string AccessKey;
    std::string SessionToken; // of temporary keys; empty for others
    std::string Region;       // empty where the source names none

    /// There is a key with its secret.
    bool IsComplete() const { return !AccessKeyID.empty() && !AccessKey.empty(); }
};

/// From the environment (AWS_ACCESS_KEY_ID, AWS_SECRET_ACCESS_KEY, AWS_SESSION_TOKEN), else from the shared
/// files: AWS_SHARED_CREDENTIALS_FILE or ~/.aws/credentials, and for the region AWS_CONFIG_FILE or
/// ~/.aws/config. The profile is AProfile, else AWS_PROFILE, else "default"; a profile that is named by
/// AProfile goes before the environment. AWS_REGION and AWS_DEFAULT_REGION go before the files' region.
///
/// Nothing where no source has both keys. Raises Exception for a file longer than 1 MiB, and EFOpenError for
/// one that may not be read.
ZN_API std::optional<TZnAmazonCredentials> ZnLoadAmazonCredentials(const std::string& AProfile = {});

namespace Zn
{

/// Adds what a profile of an INI text has to AResult, where that is still empty. Sections are "[name]" or
/// "[profile name]"; lines "key = value"; "#" and ";" begin comments.
void ReadProfile(std::string_view AText, std::string_view AProfile, TZnAmazonCredentials& AResult);

} // namespace Zn
