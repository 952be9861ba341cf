#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "platform/Api.h"

/// The identity of an interface: "0a0d76b2-ee1c-442b-a879-dc0cc1a608f5".
struct TGUID
{
    std::array<std::uint8_t, 16> Bytes{}; // in the order in which they are written

    constexpr TGUID() = default;

    /// Takes a literal; a malformed one does not compile.
    consteval explicit TGUID(std::string_view AText)
    {
        if (AText.size() != 36)
            throw "a GUID has 36 characters";
        std::size_t Digit = 0;
        for (std::size_t i = 0; i < AText.size(); ++i) {
            if (i == 8 || i == 13 || i == 18 || i == 23) {
                if (AText[i] != '-')
                    throw "'-' expected";
                continue;
            }
            auto& Byte = Bytes[Digit / 2];
            Byte = static_cast<std::uint8_t>(Byte << 4 | HexDigit(AText[i]));
            ++Digit;
        }
    }

    auto operator<=>(const TGUID&) const = default;

private:
    static constexpr std::uint8_t HexDigit(char AChar)
    {
        if (AChar >= '0' && AChar <= '9')
            return static_cast<std::uint8_t>(AChar - '0');
        if (AChar >= 'a' && AChar <= 'f')
            return static_cast<std::uint8_t>(AChar - 'a' + 10);
        if (AChar >= 'A' && AChar <= 'F')
            return static_cast<std::uint8_t>(AChar - 'A' + 10);
        throw "hexadecimal digit expected";
    }
};

/// Root of every interface: an abstract class with its IID, held by std::shared_ptr.
/// Interfaces derive from it virtually, so that one object can offer several of them.
class ZN_API IInterface
{
public:
    static constexpr TGUID IID{"00000000-0000-0000-c000-000000000046"};

    virtual ~IInterface() = default;
};

/// The same object by another of its interfaces; empty when it has not got that one.
template <class T, class U>
std::shared_ptr<T> ZnSupports(const std::shared_ptr<U>& AInterface)
{
    return std::dynamic_pointer_cast<T>(AInterface);
}
