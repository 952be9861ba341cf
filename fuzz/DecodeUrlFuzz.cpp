/// A URL that is taken keeps its text, and means the same in every code page that it is handed over in.

#include <string>
#include <string_view>

#include "common/Encoding.h"
#include "common/Exceptions.h"
#include "fuzz/FuzzCheck.h"
#include "uZnHTTPBase/Url.h"

namespace
{

using Zn::FuzzCheck;

bool Contains(std::string_view AText, std::string_view APart)
{
    return AText.find(APart) != AText.npos;
}

void CheckParts(const TZnURLData& AData)
{
    for (const std::string& Part : {AData.Username, AData.Password, AData.Hostname, AData.FilePath,
                                    AData.SubPath, AData.Document, AData.QueryString, AData.Fragment})
        FuzzCheck(Contains(AData.URL, Part), "parts are pieces of the text");
    FuzzCheck(AData.FilePath.empty() || AData.FilePath[0] == '/', "a path begins with a slash");
    FuzzCheck(!Contains(AData.Document, "/"), "a document is one segment");
    FuzzCheck(!Contains(AData.FilePath, "?") && !Contains(AData.FilePath, "#"),
              "a path ends before query and fragment");
    FuzzCheck(!Contains(AData.QueryString, "#"), "a query ends before the fragment");
    FuzzCheck(AData.DocumentUri == AData.Origin + AData.FilePath, "the document's URI is origin and path");
    FuzzCheck(AData.FilePath.size() >= AData.SubPath.size() + AData.Document.size(),
              "the path holds its segments");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* AData, std::size_t ALength)
{
    const std::string Bytes(reinterpret_cast<const char*>(AData), ALength);
    if (Bytes.empty())
        return 0;
    bool Taken = true;
    TZnURLData Data;
    try {
        Data = ZnDecodeURL(Bytes);
        CheckParts(Data);
    } catch (const EInvalidArgument&) {
        Taken = false;
    }
    if (ZnIsUtf8(Bytes)) {
        const std::string Wide = TZnEncoding::ConvertW(Bytes, cZnCodePageUTF16);
        try {
            const TZnURLData Same = ZnDecodeURL(Wide.data(), static_cast<int>(Wide.size()), cZnCodePageUTF16);
            FuzzCheck(Taken && Same == Data, "the same in UTF-16");
        } catch (const EInvalidArgument&) {
            FuzzCheck(!Taken, "refused in UTF-16 alone");
        }
    }
    for (const std::uint32_t CodePage : {1200u, 28591u, 1252u}) {
        try {
            CheckParts(ZnDecodeURL(Bytes.data(), static_cast<int>(Bytes.size()), CodePage));
        } catch (const EInvalidArgument&) {
        }
    }
    return 0;
}
