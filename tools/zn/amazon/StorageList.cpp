#include <vector>

#include "common/Exceptions.h"
#include "common/Json.h"
#include "common/Text.h"
#include "tools/zn/Commands.h"
#include "tools/zn/amazon/Amazon.h"
#include "tools/zn/config/Report.h"
#include "uZnAmazonClient.h"
#include "uZnAmazonClient/XmlText.h"

namespace Zn
{

namespace
{

struct TEntry
{
    std::string Name;
    std::string Date; // empty for a folder
    std::string Size; // empty for a folder or bucket
};

std::string Element(std::string_view AXml, std::string_view AName)
{
    return XmlElement(AXml, AName).value_or("");
}

std::vector<TEntry> Buckets(TZnAmazonClient& AClient)
{
    std::vector<TEntry> Result;
    ForEachXmlElement(AClient.Get(""), "Bucket", [&](std::string_view AXml) {
        Result.push_back({Element(AXml, "Name"), Element(AXml, "CreationDate"), {}});
    });
    return Result;
}

/// One page of a bucket's list after another.
std::vector<TEntry> Objects(TZnAmazonClient& AClient, const TStoragePath& APath, bool ADeep)
{
    std::vector<TEntry> Result;
    std::string Token;
    do {
        TZnAmazonClient::TParams Params{{"list-type", "2"}, {"prefix", APath.Key}};
        if (!ADeep)
            Params.push_back({"delimiter", "/"});
        if (!Token.empty())
            Params.push_back({"continuation-token", Token});
        const std::string Page = AClient.Get(APath.Bucket, "", Params);
        ForEachXmlElement(Page, "CommonPrefixes", [&](std::string_view AXml) {
            Result.push_back({Element(AXml, "Prefix"), {}, {}});
        });
        ForEachXmlElement(Page, "Contents", [&](std::string_view AXml) {
            Result.push_back({Element(AXml, "Key"), Element(AXml, "LastModified"), Element(AXml, "Size")});
        });
        const std::string Next = Element(Page, "NextContinuationToken");
        if (Element(Page, "IsTruncated") == "true" && (Next.empty() || Next == Token))
            throw Exception("the service's list goes on, but it doesn't say where");
        Token = Element(Page, "IsTruncated") == "true" ? Next : std::string();
    } while (!Token.empty());
    return Result;
}

void Print(const std::vector<TEntry>& AEntries, TStorageListing AForm)
{
    TJSONArray Json;
    std::vector<TRow> Rows;
    for (const TEntry& Entry : AEntries) {
        auto Object = std::make_unique<TJSONObject>();
        Object->AddPair("name", Entry.Name);
        if (!Entry.Date.empty())
            Object->AddPair("date", Entry.Date);
        if (const auto Size = ZnParseInt<std::int64_t>(Entry.Size))
            Object->AddPair("size", *Size);
        Json.Add(std::move(Object));
        Rows.push_back({Entry.Date, Entry.Size, Entry.Name});
    }
    if (AForm == TStorageListing::Json)
        PrintJson(Json);
    else
        PrintTable({"DATE", "SIZE", "NAME"}, Rows, "There is nothing.");
}

} // namespace

int ListStorage(const TAmazonAccount& AAccount, const std::string& APath, bool ADeep, TStorageListing AForm)
{
    return WithAmazonClient("zn s3", AAccount, "s3", [&](TZnAmazonClient& AClient) {
        Print(APath.empty() ? Buckets(AClient) : Objects(AClient, StoragePath(APath), ADeep), AForm);
        return cExitOk;
    });
}

} // namespace Zn
