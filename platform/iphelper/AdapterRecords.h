#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/iphelper/Adapters.h"
#include "platform/iphelper/NameServers.h"
#include "platform/iphelper/Snapshot.h"

namespace Zn
{

/// All that a record tells of one adapter.
struct TAdapter
{
    TLink Link;
    std::u16string Description;
    std::vector<TUnicast> Addresses;
    std::vector<TAnyAddress> Gateways;
    std::vector<TAnyAddress> NameServers;
};

/// The adapters of a snapshot in the order in which they are listed: by index, loopback last. AFamily limits
/// the addresses, AFlags (GAA_FLAG_...) chooses among the lists.
std::vector<TAdapter> AdaptersOf(const TSnapshot& ASnapshot, const std::vector<TNameServer>& AServers,
                                 std::uint32_t AFamily, std::uint32_t AFlags);

/// The bytes that the records of AAdapters take.
std::size_t RecordsSize(const std::vector<TAdapter>& AAdapters);

/// Writes the records to ABuffer, which has room for them and is aligned for any record. AAdapters isn't
/// empty.
void WriteRecords(const std::vector<TAdapter>& AAdapters, void* ABuffer);

} // namespace Zn
