#include "tools/zn/DirectoryPage.h"

#include <cstdio>
#include <ctime>

#include "common/Text.h"

namespace Zn
{

namespace
{

constexpr std::string_view cStyle =
    R"css(:root{color-scheme:light dark;--page:#f6f7f9;--card:#fff;--text:#1b2430;--dim:#667080;--line:#e3e7ec;--hover:#eef4fb;--link:#0b5cad;--folder:#d99a1c}
@media (prefers-color-scheme:dark){:root{--page:#12161c;--card:#1a2029;--text:#e4e9f0;--dim:#8f9bab;--line:#2a323d;--hover:#222b37;--link:#7db7f5;--folder:#e5b04a}}
*{box-sizing:border-box}
body{margin:0;background:var(--page);color:var(--text);font:16px/1.5 system-ui,"Segoe UI",Roboto,"Noto Sans","DejaVu Sans",sans-serif}
main{max-width:58rem;margin:0 auto;padding:2.5rem 1.25rem 4rem}
a{color:var(--link);text-decoration:none}
a:hover{text-decoration:underline}
nav{font-size:.95rem;color:var(--dim)}
nav span{margin:0 .45em;opacity:.6}
h1{margin:.1rem 0 .1rem;font-size:1.9rem;line-height:1.25;letter-spacing:-.015em;overflow-wrap:anywhere}
.sum{margin:0 0 1.4rem;color:var(--dim);font-size:.95rem}
table{width:100%;border-collapse:separate;border-spacing:0;background:var(--card);border:1px solid var(--line);border-radius:12px;overflow:hidden}
th{padding:.6rem 1rem;text-align:left;font-size:.85rem;font-weight:600;color:var(--dim);border-bottom:1px solid var(--line)}
th a{color:inherit}
th[aria-sort] a{color:var(--text)}
td{padding:0;border-bottom:1px solid var(--line);vertical-align:middle}
tr:last-child td{border-bottom:0}
tbody tr:hover{background:var(--hover)}
td a{display:flex;align-items:center;gap:.7rem;padding:.5rem 1rem;overflow-wrap:anywhere}
svg{flex:none;width:1.25rem;height:1.25rem;color:var(--dim)}
.icons{position:absolute;width:0;height:0}
.folder svg{color:var(--folder)}
.folder a{font-weight:600}
.size,.date{width:1%;white-space:nowrap}
td.size,td.date{padding:.5rem 1rem;color:var(--dim);font-size:.9rem;font-variant-numeric:tabular-nums}
th.size,td.size{text-align:right}
.empty{padding:2rem 1rem;text-align:center;color:var(--dim)}
@media (max-width:34rem){.date{display:none}main{padding-top:1.5rem}}
)css";

constexpr std::string_view cIcons =
    R"svg(<svg class="icons" aria-hidden="true"><symbol id="d" viewBox="0 0 20 20"><path fill="currentColor" d="M2 5.5A1.5 1.5 0 0 1 3.5 4h4l2 2h7A1.5 1.5 0 0 1 18 7.5v7a1.5 1.5 0 0 1-1.5 1.5h-13A1.5 1.5 0 0 1 2 14.5z"/></symbol><symbol id="f" viewBox="0 0 20 20"><path fill="none" stroke="currentColor" stroke-width="1.4" stroke-linejoin="round" d="M5 2.7h6.5L15.3 6.5V17.3H5zM11.3 2.8V6.7H15.2"/></symbol><symbol id="u" viewBox="0 0 20 20"><path fill="none" stroke="currentColor" stroke-width="1.6" stroke-linecap="round" stroke-linejoin="round" d="M10 16V4.5M5 9.5l5-5 5 5"/></symbol></svg>)svg";

bool ByName(const TFolderItem& A, const TFolderItem& B)
{
    const std::string Left = LowerCase(A.Name), Right = LowerCase(B.Name);
    const int Order = strverscmp(Left.c_str(), Right.c_str());
    return Order != 0 ? Order < 0 : A.Name < B.Name;
}

void Sort(std::vector<TFolderItem>& AItems, TListingOrder AOrder)
{
    std::sort(AItems.begin(), AItems.end(), [AOrder](const TFolderItem& A, const TFolderItem& B) {
        if (A.IsFolder != B.IsFolder)
            return A.IsFolder;
        if (AOrder == TListingOrder::Size && A.Size != B.Size && !A.IsFolder)
            return A.Size > B.Size;
        if (AOrder == TListingOrder::Date && A.Modified != B.Modified)
            return A.Modified > B.Modified;
        return ByName(A, B);
    });
}

std::string FormatDate(std::time_t ATime)
{
    std::tm Parts{};
    char Text[32];
    if (localtime_r(&ATime, &Parts) == nullptr)
        return {};
    return std::string(Text, std::strftime(Text, sizeof(Text), "%Y-%m-%d %H:%M", &Parts));
}

std::string Counted(std::size_t ACount, std::string_view AThing)
{
    return std::to_string(ACount) + " " + std::string(AThing) + (ACount == 1 ? "" : "s");
}

void AppendBreadcrumb(std::string& APage, const TUrlPath& APath)
{
    APage += "<nav aria-label=\"Folder\">";
    std::string Up;
    for (std::size_t I = 0; I < APath.Names.size(); ++I)
        Up += "../";
    if (Up.empty())
        APage += "Home";
    else
        APage += "<a href=\"" + Up + "\">Home</a>";
    for (std::size_t I = 0; I < APath.Names.size(); ++I) {
        APage += "<span>/</span>";
        Up.resize(Up.size() - 3);
        const std::string Name = EscapeHtml(APath.Names[I]);
        APage += Up.empty() ? Name : "<a href=\"" + Up + "\">" + Name + "</a>";
    }
    APage += "</nav>\n";
}

void AppendColumn(std::string& APage, std::string_view AClass, std::string_view ATitle, std::string_view AKey,
                  bool ACurrent)
{
    APage += "<th";
    if (!AClass.empty())
        APage.append(" class=\"").append(AClass).append("\"");
    if (ACurrent)
        APage += AKey == "name" ? " aria-sort=\"ascending\"" : " aria-sort=\"descending\"";
    APage.append("><a href=\"?sort=").append(AKey).append("\">").append(ATitle).append("</a></th>");
}

void AppendItem(std::string& APage, const TFolderItem& AItem)
{
    const char* Slash = AItem.IsFolder ? "/" : "";
    APage += AItem.IsFolder ? "<tr class=\"folder\"><td><a href=\"" : "<tr><td><a href=\"";
    APage += EncodeUrlSegment(AItem.Name) + Slash + "\"><svg aria-hidden=\"true\"><use href=\"#";
    APage += AItem.IsFolder ? "d" : "f";
    APage += "\"/></svg><span>" + EscapeHtml(AItem.Name) + Slash + "</span></a></td><td class=\"size\">";
    APage += AItem.IsFolder ? "" : FormatSize(AItem.Size);
    APage += "</td><td class=\"date\">" + FormatDate(AItem.Modified) + "</td></tr>\n";
}

std::string Summary(const std::vector<TFolderItem>& AItems)
{
    std::size_t Folders = 0;
    std::uint64_t Bytes = 0;
    for (const TFolderItem& Item : AItems) {
        Folders += Item.IsFolder ? 1 : 0;
        Bytes += Item.IsFolder ? 0 : Item.Size;
    }
    const std::size_t Files = AItems.size() - Folders;
    std::string Text;
    if (Folders > 0)
        Text = Counted(Folders, "folder") + (Files > 0 ? ", " : "");
    if (Files > 0)
        Text += Counted(Files, "file") + ", " + FormatSize(Bytes);
    return Text.empty() ? "Nothing here yet" : Text;
}

} // namespace

TListingOrder ListingOrder(std::string_view AQuery)
{
    const std::string Key = QueryParameter(AQuery, "sort").value_or("");
    if (Key == "size")
        return TListingOrder::Size;
    return Key == "date" ? TListingOrder::Date : TListingOrder::Name;
}

std::string DirectoryPage(const TUrlPath& APath, std::vector<TFolderItem> AItems, TListingOrder AOrder,
                          bool AInlineStyle)
{
    Sort(AItems, AOrder);
    const std::string Title = APath.Names.empty() ? "Home" : EscapeHtml(APath.Names.back());

    std::string Page = "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                       "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>";
    Page += Title + "</title>\n";
    if (AInlineStyle)
        Page.append("<style>\n").append(cStyle).append("</style>\n");
    else
        Page.append("<link rel=\"stylesheet\" href=\"?").append(cStyleQuery).append("\">\n");
    Page.append("</head>\n<body>\n").append(cIcons).append("\n<main>\n");
    AppendBreadcrumb(Page, APath);
    Page += "<h1>" + Title + "</h1>\n<p class=\"sum\">" + Summary(AItems) + "</p>\n<table>\n<thead><tr>";
    AppendColumn(Page, "", "Name", "name", AOrder == TListingOrder::Name);
    AppendColumn(Page, "size", "Size", "size", AOrder == TListingOrder::Size);
    AppendColumn(Page, "date", "Changed", "date", AOrder == TListingOrder::Date);
    Page += "</tr></thead>\n<tbody>\n";
    if (!APath.Names.empty())
        Page += "<tr><td colspan=\"3\"><a href=\"../\"><svg aria-hidden=\"true\"><use href=\"#u\"/></svg>"
                "<span>Up one folder</span></a></td></tr>\n";
    for (const TFolderItem& Item : AItems)
        AppendItem(Page, Item);
    if (AItems.empty() && APath.Names.empty())
        Page += "<tr><td colspan=\"3\" class=\"empty\">This folder is empty.</td></tr>\n";
    Page += "</tbody>\n</table>\n</main>\n</body>\n</html>\n";
    return Page;
}

std::string_view DirectoryStyle()
{
    return cStyle;
}

std::string FormatSize(std::uint64_t ABytes)
{
    if (ABytes < 1000)
        return std::to_string(ABytes) + " B";
    constexpr const char* cUnits[] = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    double Value = static_cast<double>(ABytes) / 1024;
    std::size_t Unit = 0;
    while (Value >= 999.5 && Unit + 1 < std::size(cUnits)) {
        Value /= 1024;
        ++Unit;
    }
    char Text[32];
    std::snprintf(Text, sizeof(Text), Value < 9.95 ? "%.1f %s" : "%.0f %s", Value, cUnits[Unit]);
    return Text;
}

} // namespace Zn
