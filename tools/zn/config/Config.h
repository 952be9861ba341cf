#pragma once

/// What `zn config` does. Each operation prints its answer or, on standard error, why there is none, and
/// returns the exit code of the program.

#include <cstdint>
#include <string>

namespace Zn
{

/// How a list is printed.
enum class TListForm { Table, Json };

int ListReservations(TListForm AForm);
int AddReservation(const std::string& AUrl, const std::string& ASecurityDescriptor);
int DeleteReservation(const std::string& AUrl);

int ListListenAddresses(TListForm AForm);
int AddListenAddress(const std::string& AAddress);
int DeleteListenAddress(const std::string& AAddress);

int ListPortCertificates(TListForm AForm);
/// AThumbPrint as people copy it: either case, with ":" or blanks between the digits.
int AddPortCertificate(std::int32_t APort, const std::string& AThumbPrint, const std::string& AStore);
int DeletePortCertificate(std::int32_t APort);

/// Of all stores where AStore is empty.
int ListCertificates(TListForm AForm, const std::string& AStore);
int CreateCertificate(const std::string& AHost, std::int32_t ADays, const std::string& AStore);
int ImportCertificate(const std::string& AFileName, const std::string& AStore);
int DeleteCertificate(const std::string& AThumbPrint, const std::string& AStore);

} // namespace Zn
