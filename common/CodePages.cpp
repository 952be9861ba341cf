#include "common/CodePages.h"

#include <algorithm>
#include <iterator>

#include "common/Encoding.h"
#include "common/Exceptions.h"
#include "common/Text.h"

namespace
{

struct TCodePage
{
    std::uint32_t Number;
    const char* IconvName;
};

// By number. The IANA name is the alias where the two systems agree on it.
constexpr TCodePage cCodePages[] = {
    {437, "CP437"},         {737, "CP737"},         {775, "CP775"},        {850, "CP850"},
    {852, "CP852"},         {855, "CP855"},         {857, "CP857"},        {860, "CP860"},
    {861, "CP861"},         {862, "CP862"},         {863, "CP863"},        {864, "CP864"},
    {865, "CP865"},         {866, "CP866"},         {869, "CP869"},        {874, "CP874"},
    {932, "CP932"},         {936, "CP936"},         {949, "UHC"},          {950, "BIG5"},
    {1200, "UTF-16LE"},     {1201, "UTF-16BE"},     {1250, "CP1250"},      {1251, "CP1251"},
    {1252, "CP1252"},       {1253, "CP1253"},       {1254, "CP1254"},      {1255, "CP1255"},
    {1256, "CP1256"},       {1257, "CP1257"},       {1258, "CP1258"},      {10000, "MACINTOSH"},
    {12000, "UTF-32LE"},    {12001, "UTF-32BE"},    {20127, "US-ASCII"},   {20866, "KOI8-R"},
    {20932, "EUC-JP"},      {21866, "KOI8-U"},      {28591, "ISO-8859-1"}, {28592, "ISO-8859-2"},
    {28593, "ISO-8859-3"},  {28594, "ISO-8859-4"},  {28595, "ISO-8859-5"}, {28596, "ISO-8859-6"},
    {28597, "ISO-8859-7"},  {28598, "ISO-8859-8"},  {28599, "ISO-8859-9"}, {28603, "ISO-8859-13"},
    {28605, "ISO-8859-15"}, {50220, "ISO-2022-JP"}, {51932, "EUC-JP"},     {51936, "GB2312"},
    {51949, "EUC-KR"},      {54936, "GB18030"},     {65000, "UTF-7"},      {65001, "UTF-8"},
};
static_assert(std::is_sorted(std::begin(cCodePages), std::end(cCodePages),
                             [](const TCodePage& ALeft, const TCodePage& ARight) {
                                 return ALeft.Number < ARight.Number;
                             }));

struct TCharset
{
    std::string_view Name;
    std::uint32_t CodePage;
};

// Lower case, sorted. UTF-7 has no name here: no message that arrives should choose it.
constexpr TCharset cCharsets[] = {
    {"ansi_x3.4-1968", 20127},
    {"ascii", 20127},
    {"big5", 950},
    {"cp1250", 1250},
    {"cp1251", 1251},
    {"cp1252", 1252},
    {"cp1253", 1253},
    {"cp1254", 1254},
    {"cp1255", 1255},
    {"cp1256", 1256},
    {"cp1257", 1257},
    {"cp1258", 1258},
    {"cp437", 437},
    {"cp819", 28591},
    {"cp850", 850},
    {"cp852", 852},
    {"cp866", 866},
    {"cp932", 932},
    {"cp936", 936},
    {"cp949", 949},
    {"cp950", 950},
    {"csshiftjis", 932},
    {"dos-874", 874},
    {"euc-jp", 51932},
    {"euc-kr", 51949},
    {"gb18030", 54936},
    {"gb2312", 936},
    {"gbk", 936},
    {"ibm437", 437},
    {"ibm737", 737},
    {"ibm775", 775},
    {"ibm819", 28591},
    {"ibm850", 850},
    {"ibm852", 852},
    {"ibm855", 855},
    {"ibm857", 857},
    {"ibm860", 860},
    {"ibm861", 861},
    {"ibm862", 862},
    {"ibm863", 863},
    {"ibm864", 864},
    {"ibm865", 865},
    {"ibm866", 866},
    {"ibm869", 869},
    {"iso-2022-jp", 50220},
    {"iso-8859-1", 28591},
    {"iso-8859-13", 28603},
    {"iso-8859-15", 28605},
    {"iso-8859-2", 28592},
    {"iso-8859-3", 28593},
    {"iso-8859-4", 28594},
    {"iso-8859-5", 28595},
    {"iso-8859-6", 28596},
    {"iso-8859-7", 28597},
    {"iso-8859-8", 28598},
    {"iso-8859-9", 28599},
    {"iso-latin-1", 28591},
    {"iso8859-1", 28591},
    {"iso8859-15", 28605},
    {"iso_8859-1", 28591},
    {"iso_8859-15", 28605},
    {"iso_8859-2", 28592},
    {"koi8-r", 20866},
    {"koi8-u", 21866},
    {"ks_c_5601-1987", 949},
    {"l1", 28591},
    {"l2", 28592},
    {"latin-9", 28605},
    {"latin1", 28591},
    {"latin2", 28592},
    {"latin3", 28593},
    {"latin4", 28594},
    {"latin5", 28599},
    {"latin9", 28605},
    {"macintosh", 10000},
    {"ms_kanji", 932},
    {"shift-jis", 932},
    {"shift_jis", 932},
    {"sjis", 932},
    {"tis-620", 874},
    {"us-ascii", 20127},
    {"utf-16", 1200},
    {"utf-16be", 1201},
    {"utf-16le", 1200},
    {"utf-32", 12000},
    {"utf-32be", 12001},
    {"utf-32le", 12000},
    {"utf-8", 65001},
    {"utf8", 65001},
    {"windows-1250", 1250},
    {"windows-1251", 1251},
    {"windows-1252", 1252},
    {"windows-1253", 1253},
    {"windows-1254", 1254},
    {"windows-1255", 1255},
    {"windows-1256", 1256},
    {"windows-1257", 1257},
    {"windows-1258", 1258},
    {"windows-31j", 932},
    {"windows-874", 874},
    {"x-cp1252", 1252},
    {"x-sjis", 932},
};
static_assert(std::is_sorted(std::begin(cCharsets), std::end(cCharsets),
                             [](const TCharset& ALeft, const TCharset& ARight) {
                                 return ALeft.Name < ARight.Name;
                             }));

} // namespace

namespace Zn
{

const char* IconvName(std::uint32_t ACodePage)
{
    const auto Found = std::lower_bound(
        std::begin(cCodePages), std::end(cCodePages), ACodePage,
        [](const TCodePage& AEntry, std::uint32_t ANumber) { return AEntry.Number < ANumber; });
    return Found != std::end(cCodePages) && Found->Number == ACodePage ? Found->IconvName : nullptr;
}

unsigned CodePageUnit(std::uint32_t ACodePage)
{
    if (ACodePage == 1200 || ACodePage == 1201)
        return 2;
    return ACodePage == 12000 || ACodePage == 12001 ? 4 : 1;
}

} // namespace Zn

std::uint32_t ZnCodePage(std::string_view ACharset)
{
    const std::string Name = LowerCase(ZnStripLiterals(ZnTrimView(ACharset)));
    const auto Found =
        std::lower_bound(std::begin(cCharsets), std::end(cCharsets), std::string_view(Name),
                         [](const TCharset& AEntry, std::string_view AName) { return AEntry.Name < AName; });
    if (Found == std::end(cCharsets) || Found->Name != Name)
        throw EConvertError("The charset \"" + std::string(ACharset) + "\" is not known!");
    return Found->CodePage;
}
