#pragma once

#include <array>
#include <cstdint>
#include <string_view>

/// A set of ASCII characters with a look-up that costs one load. Made at compile time:
/// constexpr TZnTextSet cPathEnd("/?#");
class TZnTextSet
{
public:
    constexpr TZnTextSet() = default;

    /// The characters of a text.
    constexpr explicit TZnTextSet(std::string_view AChars)
    {
        for (const char Char : AChars) {
            Include(Char);
        }
    }

    /// All characters from AFirst through ALast.
    static constexpr TZnTextSet Range(char AFirst, char ALast)
    {
        TZnTextSet Result;
        for (int Char = AFirst; Char <= ALast; ++Char) {
            Result.Include(static_cast<char>(Char));
        }
        return Result;
    }

    /// Puts one character in.
    constexpr void Include(char AChar) { FMember[static_cast<unsigned char>(AChar)] = true; }
    /// Whether the character is in the set.
    constexpr bool Contains(char AChar) const { return FMember[static_cast<unsigned char>(AChar)]; }

    /// What is in either.
    friend constexpr TZnTextSet operator|(TZnTextSet ALeft, const TZnTextSet& ARight)
    {
        for (std::size_t Index = 0; Index < ALeft.FMember.size(); ++Index) {
            ALeft.FMember[Index] = ALeft.FMember[Index] || ARight.FMember[Index];
        }
        return ALeft;
    }

private:
    std::array<bool, 256> FMember{};
};
