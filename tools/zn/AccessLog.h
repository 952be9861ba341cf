#pragma once

#include <string>

#include "tools/zn/AccessFormats.h"
#include "uZnHTTPH.h"

namespace Zn
{

/// Where a line for each request goes.
///
/// Threads: Write on any; Reopen beside it, on one.
class TAccessLog
{
public:
    using TFormat = std::string (*)(const TAccessRecord&);

    /// Lines for people, on standard error.
    TAccessLog();
    /// To a file, which is made or appended to; "-" is standard output, an empty name standard error. Raises
    /// Exception when it can't be opened.
    TAccessLog(std::string AFileName, TFormat AFormat);
    ~TAccessLog();
    TAccessLog(const TAccessLog&) = delete;
    TAccessLog& operator=(const TAccessLog&) = delete;

    /// Whether lines tell who asked, by which program, and have an id.
    bool HasDetails() const { return FFormat != &FormatAccessLine; }

    /// One call of the system for a line, so that those of several workers don't mix. A log that can't be
    /// written stops no request.
    void Write(const TAccessRecord& ARecord) const;

    /// Lines to come go to the file that has the name now. Raises Exception, and goes on with the old one,
    /// when it can't be opened. Nothing happens to a standard stream.
    void Reopen() const;

private:
    int Open() const;

    const std::string FFileName;
    const TFormat FFormat;
    int FFd; // the number stays, what it stands for changes
};

/// The method of a request as it was sent.
std::string MethodName(const THTTP_REQUEST& ARequest);

} // namespace Zn
