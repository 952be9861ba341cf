#include "tools/zn/SecretOption.h"

#include <cstdlib>

#include "common/Exceptions.h"
#include "common/Streams.h"

namespace Zn
{

namespace
{

constexpr std::int64_t cMaxLength = 64 * 1024; // bytes

std::string FirstLine(const std::string& AFileName)
{
    TFileStream File(AFileName, fmOpenRead | fmShareDenyNone);
    if (File.GetSize() > cMaxLength)
        throw Exception(AFileName + " is too long to hold a secret");
    std::string Text(static_cast<std::size_t>(File.GetSize()), '\0');
    File.ReadBuffer(Text.data(), File.GetSize());
    return Text.substr(0, Text.find_first_of("\r\n"));
}

} // namespace

std::string ReadSecret(const std::string& AText, const std::string& AFileName, const char* AVariable)
{
    if (!AText.empty())
        return AText;
    if (!AFileName.empty())
        return FirstLine(AFileName);
    const char* const Value = std::getenv(AVariable);
    return Value == nullptr ? std::string() : std::string(Value);
}

} // namespace Zn
