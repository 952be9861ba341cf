#pragma once

#include <algorithm>
#include <span>
#include <vector>

#include "platform/iphelper/Adapters.h"
#include "platform/iphelper/InterfaceMessages.h"

namespace Zn
{

/// The interfaces of a network namespace with their addresses and default gateways, each list in the order of
/// the interfaces' indexes; gateways by metric.
struct TSnapshot
{
    std::vector<TLink> Links;
    std::vector<TUnicast> Addresses;
    std::vector<TGateway> Gateways;
};

/// The part of a list that is about interface AIndex.
template <typename T>
std::span<const T> EntriesOf(const std::vector<T>& AList, int AIndex)
{
    const auto First = std::ranges::lower_bound(AList, AIndex, {}, &T::Index);
    const auto Last = std::ranges::upper_bound(AList, AIndex, {}, &T::Index);
    return {First, Last};
}

/// Reads the kernel's tables, again when they changed meanwhile. 0, or an errno.
int ReadSnapshot(TSnapshot& ASnapshot);

/// The same, of the links alone.
int ReadLinks(std::vector<TLink>& ALinks);

/// Where an address of ALink comes from, as far as its flags and its form tell.
struct TOrigins
{
    IP_PREFIX_ORIGIN Prefix;
    IP_SUFFIX_ORIGIN Suffix;
};
TOrigins OriginsOf(const TUnicast& AAddress, const TLink& ALink);

/// A text that tells a reader what kind of thing ALink is: its alias, else its kind, else its driver.
std::string DescriptionOf(const TLink& ALink);

} // namespace Zn
