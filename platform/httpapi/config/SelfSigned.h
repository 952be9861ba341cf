#pragma once

#include <cstdint>
#include <string>

namespace Zn
{

/// A new certificate for a server, signed by its own key (ECDSA, P-256), with that key: one PEM text. AHost
/// is a name
/// ("www.example.org", "*.example.org") or a literal address. 87 for another AHost, or ADays not in 1 to
/// 36500.
std::uint32_t MakeSelfSigned(const std::string& AHost, std::uint32_t ADays, std::string& APem);

} // namespace Zn
