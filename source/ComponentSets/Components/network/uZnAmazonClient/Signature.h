#pragma once

/// Signature Version 4, as far as it knows no request: texts in, texts out. Any thread.

#include <string>
#include <string_view>

#include "common/DateTime.h"

namespace Zn
{

/// Who signs, and for what.
struct TSigner
{
    std::string_view Algorithm; // "AWS4-HMAC-SHA256"
    std::string_view AccessKeyID;
    std::string_view AccessKey; // the secret
    std::string_view Region;
    std::string_view Service;
};

/// "20130524T000000Z".
std::string SigningDate(TDateTime AUTC);

/// "20130524": what stands in front of the "T".
std::string_view DateStamp(std::string_view ADate);

/// "20130524/us-east-1/s3/aws4_request".
std::string CredentialScope(const TSigner& ASigner, std::string_view ADate);

/// Algorithm, date, scope and the hash of the canonical request, a line each.
std::string StringToSign(const TSigner& ASigner, std::string_view ADate, std::string_view ACanonicalRequest);

/// The end of the key chain over the date stamp, region and service, used on AStringToSign: 64 lower-case
/// hexadecimal digits.
std::string SignatureOf(const TSigner& ASigner, std::string_view ADate, std::string_view AStringToSign);

/// The value of the Authorization field.
std::string Authorization(const TSigner& ASigner, std::string_view ADate, std::string_view ASignedHeaders,
                          std::string_view AStringToSign);

} // namespace Zn
