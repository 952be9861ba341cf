#include "tools/zn/AccessLog.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "common/Exceptions.h"
#include "common/System.h"
#include "platform/errors/Errors.h"

namespace Zn
{

TAccessLog::TAccessLog() : TAccessLog({}, &FormatAccessLine) {}

TAccessLog::TAccessLog(std::string AFileName, TFormat AFormat)
    : FFileName(AFileName == "-" ? std::string() : std::move(AFileName)), FFormat(AFormat), FFd(STDERR_FILENO)
{
    if (!FFileName.empty())
        FFd = Open();
    else if (AFileName == "-")
        FFd = STDOUT_FILENO;
}

TAccessLog::~TAccessLog()
{
    if (!FFileName.empty())
        close(FFd);
}

int TAccessLog::Open() const
{
    const int Fd = open(FFileName.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY, 0640);
    if (Fd < 0)
        throw Exception("Cannot write the access log " + FFileName + ": " +
                        SysErrorMessage(FromErrno(errno)));
    return Fd;
}

void TAccessLog::Write(const TAccessRecord& ARecord) const
{
    const std::string Line = FFormat(ARecord);
    [[maybe_unused]] const auto Written = write(FFd, Line.data(), Line.size());
}

void TAccessLog::Reopen() const
{
    if (FFileName.empty())
        return;
    const int New = Open();
    dup3(New, FFd, O_CLOEXEC); // in one step: a writer beside it meets the old file or the new one
    close(New);
}

std::string MethodName(const THTTP_REQUEST& ARequest)
{
    static constexpr const char* cNames[] = {
        "",        "",      "",     "OPTIONS", "GET",      "HEAD",      "POST",  "PUT",  "DELETE", "TRACE",
        "CONNECT", "TRACK", "MOVE", "COPY",    "PROPFIND", "PROPPATCH", "MKCOL", "LOCK", "UNLOCK", "SEARCH"};
    static_assert(std::size(cNames) == HttpVerbMaximum);
    if (ARequest.Verb < HttpVerbMaximum && *cNames[ARequest.Verb] != '\0')
        return cNames[ARequest.Verb];
    return std::string(ARequest.pUnknownVerb, ARequest.UnknownVerbLength);
}

} // namespace Zn
