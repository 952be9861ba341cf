#include "uZnHTTPServer/RandomToken.h"

#include <array>
#include <string_view>

#include "common/Exceptions.h"
#include "common/System.h"
#include "platform/random/SystemRandom.h"

namespace
{

constexpr std::size_t cTokenLength = 50;
constexpr std::string_view cTokenCharacters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz01234_6789+/";
constexpr unsigned cUsedCharacters = 63; // "/" has a meaning in URLs and paths: it stays out
static_assert(cTokenCharacters.size() == 64 && cTokenCharacters[cUsedCharacters] == '/');

} // namespace

std::string GenerateRandomToken()
{
    std::string Token;
    Token.reserve(cTokenLength);
    std::array<std::byte, 64> Bytes; // one fill is enough almost always: of 64 bytes one is thrown away
    while (Token.size() < cTokenLength) {
        if (const std::uint32_t Error = Zn::FillWithRandom(Bytes); Error != 0)
            throw EZnException("No random bytes: " + SysErrorMessage(Error), static_cast<int>(Error));
        for (const std::byte Byte : Bytes) {
            // Thrown away, not folded in: a remainder would make some characters likelier.
            const auto Index = std::to_integer<unsigned>(Byte) & 63U;
            if (Index < cUsedCharacters && Token.size() < cTokenLength)
                Token += cTokenCharacters[Index];
        }
    }
    return Token;
}
