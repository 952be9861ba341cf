#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/zn/FormLogon.h"
#include "tools/zn/OpenIDLogon.h"

namespace Zn
{

/// What `zn serve` is told on the command line.
struct TServeOptions
{
    std::string Folder = ".";
    std::vector<std::string> Bindings{"http://localhost:8080/"};
    bool HasOwnBindings = false; // from the command line: they go ahead of those of sockets handed in
    bool VersionTwo = false;     // HTTPServerV2
    bool Deflate = false;
    std::vector<std::string> CSPLines; // each one Content-Security-Policy field
    int BufferSize = 16384;            // RequestBufferSize, bytes; browsers send more than the library's 2048
    bool Demo = false;
    std::vector<std::string> TrustedProxies; // addresses and ranges
    bool ReadsForwarded = false;             // Forwarded instead of X-Forwarded-*
    bool ProxyProtocol = false;
    std::vector<std::string> Limits; // NAME=VALUE, in the order given
    std::string MetricsPath;         // of the counters, with its slash in front; empty: none
    std::string AccessLog;           // file, or "-" for standard output; empty: standard error
    std::string LogFormat;           // "combined" or "json"; empty: combined in a file, else lines for people
    bool Watch = false;              // reload when certificate or accounts change
    std::optional<std::uint32_t> DrainSeconds; // nothing: requests at work are cut at the stop
    std::string Auth;                          // "basic", "digest" or "form"; empty: nobody has to log on
    std::string UsersFile;                     // user:realm:HA1 lines
    std::string Realm;                         // empty: the realm of the file's first account
    std::vector<std::string> Protect;          // paths below each binding; none: all
    TFormLogonOptions FormLogon;
    TOpenIDOptions OpenID;
    std::string CertificateFile; // PEM, for the https bindings; empty: what the SSL binding list says
    std::string KeyFile;         // PEM; empty: the key stands in CertificateFile
    std::string ClientCAFile;    // PEM; not empty: clients are asked for a certificate
};

/// Serves until SIGINT or SIGTERM; reads certificate, accounts and configuration anew on SIGHUP. The exit
/// code of the program: 0 after a clean end, 1 with a line on standard error when it can't serve. A second
/// signal ends the process at once.
///
/// Called on the main thread before any other thread runs: it blocks the signals for all of them.
int RunServe(const TServeOptions& AOptions);

} // namespace Zn
