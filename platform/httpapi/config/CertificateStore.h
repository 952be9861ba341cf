#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/httpapi/config/CertificateText.h"

namespace Zn
{

/// The certificates of the state folder: certificates/STORE/*.pem, each with one certificate, its chain and
/// its key. A file may have any name; what is added here is called by its thumbprint. Names of stores go
/// without regard to case. Any thread, any process. LoadCertificate and LoadAllCertificates of
/// Configuration.h read it.
class CertificateStore
{
public:
    static constexpr const char* DefaultName = "my";

    struct Entry
    {
        std::string Store;
        std::string File;
        CertificateContent Content;
    };

    /// Everything readable in one store, or in all for an empty name: by store, then by file.
    static std::vector<Entry> List(const std::string& AStore);

    /// Adds what AText holds, or puts it in the place of the same certificate. 13 where AText has no
    /// certificate, 1312 where it lacks its key, 123 for a name that no store can have, 5 without the right
    /// to write.
    static std::uint32_t Add(const std::string& AStore, std::string_view AText, std::string& AThumbprint);

    /// Deletes every file with that certificate. 2 where there is none.
    static std::uint32_t Remove(const std::string& AStore, const std::string& AThumbprint);
};

/// Letters, digits, "-", "_", "." and blanks; at most 64, the first and last a letter or digit: never a path.
bool IsStoreName(std::string_view AName);

/// 40 hexadecimal digits in lower case.
bool IsThumbprint(std::string_view AText);

} // namespace Zn
