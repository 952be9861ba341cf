#pragma once

#include <string>
#include <string_view>

#include "uZnHTTPServer/FileVersion.h"

namespace Zn
{

/// Puts ABytes in the place of a file, unless it is another version than AExpected by then: then
/// somebody else has written it, and theirs stays.
///
/// Readers and other writers, in any process, meet the old file or the new one as a whole, and so does
/// whoever reads it after a power failure. Of a symbolic link the file behind it is replaced. Permissions
/// stay, owner and group as far as this process may give files away. Needs room and the right to write in the
/// file's folder, where the new file grows under a name that begins with ".zn-". Raises EStreamError with the
/// old file untouched and nothing left in the folder. Any thread.
void ReplaceFile(const std::string& AFileName, const FileVersion& AExpected, std::string_view ABytes);

} // namespace Zn
