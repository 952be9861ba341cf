#pragma once

#include <string_view>

#include "tools/zn/Exchange.h"

namespace Zn
{

/// The handlers below /demo/: one for each thing that a handler can do.
///
///   echo           the body back with its content type
///   request        JSON: method, every URL field, headers, cookies, languages, remote address
///   text?size=N    N bytes as text          (at most 64 MiB, as for the next two)
///   memory?size=N  the same bytes from a buffer
///   stream?size=N  the same bytes from a stream
///   status/CODE    raises EZnHTTPException with the code, 200 to 999
///   fail           raises another exception
///   private        who has logged on (zn serve --auth keeps others away from it)
///   wait?ms=N      waits for the end of the client, of the server or of N ms (at most 600000)
///
/// AName is the part of the path behind "/demo/". Raises EZnHTTPException with 404 for other names and 400
/// for numbers that are none.
void RespondDemo(TExchange& AExchange, std::string_view AName);

} // namespace Zn
