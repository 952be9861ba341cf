#pragma once

#include <string>
#include <string_view>

#include "platform/Api.h"

/// What a service says of a failed request, read from the body of its answer.
struct TZnAmazonError
{
    std::string Code;    // "NoSuchKey", "RequestTimeTooSkewed"; empty where the body has none
    std::string Message; // the service's words
    /// The signature was refused because this machine's clock and the service's differ.
    bool IsClockWrong = false;
};

/// Reads the XML of the older services ("<Code>") and the JSON of the others ("__type", "message").
ZN_API TZnAmazonError ZnReadAmazonError(std::string_view ABody);
