#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/zn/SiteFolder.h"
#include "tools/zn/UrlPath.h"

namespace Zn
{

/// How a listing is ordered. Folders stand first in each.
enum class TListingOrder {
    Name, // upwards, numbers by value: page2 before page10
    Size, // largest first
    Date, // newest first
};

/// From the query "sort=size"; by name for anything else.
TListingOrder ListingOrder(std::string_view AQuery);

/// The page of a folder without an index document: breadcrumb, table, sums. One file, without scripts or
/// anything fetched from elsewhere; links are relative, so that it holds under any prefix.
/// AInlineStyle puts the style sheet into the page; without it the page links to cStyleQuery, as a
/// Content-Security-Policy may refuse inline styles.
std::string DirectoryPage(const TUrlPath& APath, std::vector<TFolderItem> AItems, TListingOrder AOrder,
                          bool AInlineStyle);

/// The query under which a folder's URL gives the page's style sheet.
inline constexpr std::string_view cStyleQuery = "listing.css";
std::string_view DirectoryStyle();

/// 0 B, 999 B, 1.5 KiB, 20 MiB: three digits at most, so that columns stay narrow.
std::string FormatSize(std::uint64_t ABytes);

} // namespace Zn
