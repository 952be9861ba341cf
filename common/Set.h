#pragma once

#include <bit>
#include <cstdint>
#include <initializer_list>

/// A set of values of an enumeration whose values are 0 to 63.
template <class E>
class TZnSet
{
public:
    constexpr TZnSet() = default;
    /// With these values: `TZnHTTPSecurityFlags{sfIgnoreUnknownCA}`.
    constexpr TZnSet(std::initializer_list<E> AValues)
    {
        for (E Value : AValues)
            Include(Value);
    }

    /// Puts a value in; nothing happens when it is there.
    constexpr void Include(E AValue) { FBits |= Bit(AValue); }
    /// Takes a value out; nothing happens when it isn't there.
    constexpr void Exclude(E AValue) { FBits &= ~Bit(AValue); }
    /// Whether the value is in the set.
    constexpr bool Contains(E AValue) const { return (FBits & Bit(AValue)) != 0; }
    /// No value at all.
    constexpr bool Empty() const { return FBits == 0; }
    /// The number of values.
    constexpr int Count() const { return std::popcount(FBits); }

    /// What is in either.
    constexpr TZnSet operator|(TZnSet AOther) const { return FromBits(FBits | AOther.FBits); }
    /// What is in both.
    constexpr TZnSet operator&(TZnSet AOther) const { return FromBits(FBits & AOther.FBits); }
    /// What is in this one and not in AOther.
    constexpr TZnSet operator-(TZnSet AOther) const { return FromBits(FBits & ~AOther.FBits); }
    constexpr bool operator==(const TZnSet&) const = default;

private:
    static constexpr std::uint64_t Bit(E AValue) { return std::uint64_t{1} << static_cast<unsigned>(AValue); }
    static constexpr TZnSet FromBits(std::uint64_t ABits)
    {
        TZnSet Set;
        Set.FBits = ABits;
        return Set;
    }

    std::uint64_t FBits = 0;
};
