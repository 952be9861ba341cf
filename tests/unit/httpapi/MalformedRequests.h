#pragma once

/// Request heads that have to be refused, by what is wrong with them. The benchmark shows them to other
/// parsers too.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Zn
{

using namespace std::string_view_literals;

enum class Malformation { RequestLine, Host, Field, Head, Control };

struct MalformedRequest
{
    Malformation Kind;
    std::string Name;
    std::uint16_t Status;
    std::string Bytes;
};

namespace Malformed
{

struct Row
{
    const char* Name;
    std::uint16_t Status;
    std::string_view Text;
};

// Several rows a line:
// clang-format off

// Text "CRLF Host: a CRLF CRLF"
inline constexpr Row RequestLines[] = {
    {"empty line twice", 400, "\r\n\r\nGET / HTTP/1.1"}, {"no method", 400, " / HTTP/1.1"},
    {"blank before method", 400, " GET / HTTP/1.1"}, {"tab before method", 400, "\tGET / HTTP/1.1"},
    {"bracket in method", 400, "GE(T / HTTP/1.1"}, {"quote in method", 400, "G\"ET / HTTP/1.1"},
    {"slash in method", 400, "GE/T / HTTP/1.1"}, {"colon in method", 400, "GET: / HTTP/1.1"},
    {"at sign in method", 400, "G@T / HTTP/1.1"}, {"brace in method", 400, "{GET} / HTTP/1.1"},
    {"non-ASCII method", 400, "G\xC3\x8BT / HTTP/1.1"},
    {"byte order mark", 400, "\xEF\xBB\xBFGET / HTTP/1.1"}, {"comma in method", 400, "GET,POST / HTTP/1.1"},
    {"method alone", 400, "GET"}, {"method and blank", 400, "GET "},
    {"method and slash", 400, "GET/ HTTP/1.1"}, {"HTTP/0.9", 400, "GET /"},
    {"HTTP/0.9 with blank", 400, "GET / "}, {"no target", 400, "GET HTTP/1.1"},
    {"two blanks for a target", 400, "GET  HTTP/1.1"}, {"two blanks before target", 400, "GET  / HTTP/1.1"},
    {"two blanks after target", 400, "GET /  HTTP/1.1"}, {"tab for the first blank", 400, "GET\t/ HTTP/1.1"},
    {"tab for the second blank", 400, "GET /\tHTTP/1.1"}, {"form feed for a blank", 400, "GET /\fHTTP/1.1"},
    {"blank at the end", 400, "GET / HTTP/1.1 "}, {"tab at the end", 400, "GET / HTTP/1.1\t"},
    {"blank in target", 400, "GET /a b HTTP/1.1"},
    {"two targets and versions", 400, "GET / HTTP/1.1 /b HTTP/1.1"},
    {"words behind version", 400, "GET / HTTP/1.1 x"}, {"colon behind version", 400, "GET / HTTP/1.1:"},
    {"lower-case version", 400, "GET / http/1.1"}, {"mixed-case version", 400, "GET / Http/1.1"},
    {"version without digits", 400, "GET / HTTP/"}, {"version without minor", 400, "GET / HTTP/1"},
    {"version with a dot only", 400, "GET / HTTP/1."}, {"version without major", 400, "GET / HTTP/.1"},
    {"two-digit minor", 400, "GET / HTTP/1.10"}, {"two-digit major", 400, "GET / HTTP/11.1"},
    {"leading zero in major", 400, "GET / HTTP/01.1"}, {"leading zero in minor", 400, "GET / HTTP/1.01"},
    {"comma in version", 400, "GET / HTTP/1,1"}, {"sign in version", 400, "GET / HTTP/+1.1"},
    {"blank in version", 400, "GET / HTTP/ 1.1"}, {"blank before version slash", 400, "GET / HTTP /1.1"},
    {"letters in version", 400, "GET / HTTP/a.b"}, {"three-part version", 400, "GET / HTTP/1.1.1"},
    {"another protocol", 400, "GET / HTTPS/1.1"}, {"one letter short", 400, "GET / HTP/1.1"},
    {"backslash version", 400, "GET / HTTP\\1.1"}, {"version 0.9", 505, "GET / HTTP/0.9"},
    {"version 2.0", 505, "GET / HTTP/2.0"}, {"version 9.9", 505, "GET / HTTP/9.9"},
    {"HTTP/2 preface", 505, "PRI * HTTP/2.0"}, {"relative target", 400, "GET a HTTP/1.1"},
    {"relative dot target", 400, "GET ./a HTTP/1.1"}, {"query alone", 400, "GET ?a=b HTTP/1.1"},
    {"asterisk for GET", 400, "GET * HTTP/1.1"}, {"asterisk and path", 400, "OPTIONS */a HTTP/1.1"},
    {"asterisk and query", 400, "OPTIONS *?a HTTP/1.1"}, {"authority for GET", 400, "GET a:80 HTTP/1.1"},
    {"name for GET", 400, "GET example.com HTTP/1.1"}, {"CONNECT", 501, "CONNECT a:443 HTTP/1.1"},
    {"CONNECT without port", 400, "CONNECT a HTTP/1.1"},
    {"CONNECT with empty port", 400, "CONNECT a: HTTP/1.1"}, {"CONNECT with path", 400, "CONNECT / HTTP/1.1"},
    {"CONNECT with URL", 400, "CONNECT http://a/ HTTP/1.1"},
    {"CONNECT with userinfo", 400, "CONNECT u@a:1 HTTP/1.1"}, {"fragment", 400, "GET /#a HTTP/1.1"},
    {"fragment behind query", 400, "GET /?a#b HTTP/1.1"}, {"quote in path", 400, "GET /\" HTTP/1.1"},
    {"less-than in path", 400, "GET /< HTTP/1.1"}, {"greater-than in path", 400, "GET /> HTTP/1.1"},
    {"backslash in path", 400, "GET /a\\..\\b HTTP/1.1"}, {"caret in path", 400, "GET /^ HTTP/1.1"},
    {"backtick in path", 400, "GET /` HTTP/1.1"}, {"brace in path", 400, "GET /{} HTTP/1.1"},
    {"bar in path", 400, "GET /a|b HTTP/1.1"}, {"non-ASCII path", 400, "GET /\xC3\xA4 HTTP/1.1"},
    {"overlong UTF-8 in path", 400, "GET /\xC0\xAF HTTP/1.1"}, {"quote in query", 400, "GET /?\" HTTP/1.1"},
    {"tag in query", 400, "GET /?<b> HTTP/1.1"}, {"non-ASCII query", 400, "GET /?\xE4 HTTP/1.1"},
    {"percent at the end", 400, "GET /% HTTP/1.1"}, {"one digit behind percent", 400, "GET /%a HTTP/1.1"},
    {"no hex behind percent", 400, "GET /%zz HTTP/1.1"},
    {"half hex behind percent", 400, "GET /%4g HTTP/1.1"}, {"percent percent", 400, "GET /%%41 HTTP/1.1"},
    {"UTF-16 escape", 400, "GET /%u0041 HTTP/1.1"}, {"escape cut by query", 400, "GET /%4?1 HTTP/1.1"},
    {"escaped NUL in path", 400, "GET /a%00.html HTTP/1.1"},
    {"percent in query", 400, "GET /?a=100% HTTP/1.1"}, {"no hex in query", 400, "GET /?%g1 HTTP/1.1"},
    {"another scheme", 400, "GET ftp://a/ HTTP/1.1"}, {"file scheme", 400, "GET file:///etc/passwd HTTP/1.1"},
    {"scheme with one slash", 400, "GET http:/a HTTP/1.1"},
    {"scheme without slashes", 400, "GET http:a HTTP/1.1"},
    {"scheme and blank", 400, "GET http: //a/ HTTP/1.1"}, {"no scheme before ://", 400, "GET ://a/ HTTP/1.1"},
    {"absolute without host", 400, "GET http:///a HTTP/1.1"},
    {"absolute with port only", 400, "GET http://:80/ HTTP/1.1"},
    {"absolute with query only", 400, "GET http://?a HTTP/1.1"},
    {"absolute with userinfo", 400, "GET http://u@a/ HTTP/1.1"},
    {"absolute with password", 400, "GET http://u:p@a/ HTTP/1.1"},
    {"absolute with large port", 400, "GET http://a:65536/ HTTP/1.1"},
    {"absolute with fragment", 400, "GET http://a/#f HTTP/1.1"},
    {"absolute with fragment on host", 400, "GET http://a#f HTTP/1.1"},
    {"absolute with backslash", 400, "GET http://a\\b/ HTTP/1.1"},
    {"absolute with escaped host", 400, "GET http://%61/ HTTP/1.1"},
};

// "GET / HTTP/1.1 CRLF Host:" Text "CRLF CRLF"
inline constexpr Row Hosts[] = {
    {"empty host", 400, " "}, {"host list", 400, " a, b"}, {"hosts by comma", 400, " a,b"},
    {"hosts by blank", 400, " a b"}, {"host with path", 400, " a/b"}, {"host with query", 400, " a?b"},
    {"host with fragment", 400, " a#b"}, {"host as URL", 400, " http://a"},
    {"host with userinfo", 400, " u@a"}, {"host with backslash", 400, " a\\b"},
    {"host in quotes", 400, " \"a\""}, {"host with tag", 400, " <a>"},
    {"host non-ASCII", 400, " \xC3\xA4.de"}, {"host with escape", 400, " a%2eb"},
    {"host with star", 400, " *"}, {"host with plus", 400, " +"}, {"host with semicolon", 400, " a;b"},
    {"host with port only", 400, " :80"}, {"host with letters for port", 400, " a:b"},
    {"host with signed port", 400, " a:+80"}, {"host with negative port", 400, " a:-1"},
    {"host with port 0", 400, " a:0"}, {"host with large port", 400, " a:65536"},
    {"host with six-digit port", 400, " a:000080"}, {"host with hex port", 400, " a:0x50"},
    {"host with two ports", 400, " a:80:80"}, {"host with blank before port", 400, " a: 80"},
    {"host with empty label", 400, " a..b"}, {"host beginning with dot", 400, " .a"},
    {"IPv6 without brackets", 400, " ::1"}, {"IPv6 without end", 400, " [::1"},
    {"IPv6 without begin", 400, " ::1]"}, {"IPv6 with garbage behind", 400, " [::1]a"},
    {"IPv6 too long", 400, " [1:2:3:4:5:6:7:8:9]"}, {"IPv6 with two gaps", 400, " [1::2::3]"},
    {"IPv6 with zone", 400, " [fe80::1%25eth0]"}, {"IPv6 empty", 400, " []"},
    {"name in brackets", 400, " [a]"}, {"IPvFuture", 400, " [v1.a]"},
};

// "POST / HTTP/1.1 CRLF Host: a CRLF" Text "CRLF CRLF"
inline constexpr Row FieldLines[] = {
    {"second Host", 400, "Host: a"}, {"second Host, another", 400, "hOST: b"},
    {"second Host, empty", 400, "Host:"}, {"blank before colon", 400, "X : a"},
    {"tab before colon", 400, "X\t: a"}, {"blank in name", 400, "X Y: a"}, {"no name", 400, ": a"},
    {"no colon", 400, "X"}, {"no colon, value", 400, "X a"}, {"folded with blank", 400, "X: a\r\n b"},
    {"folded with tab", 400, "X: a\r\n\tb"}, {"folded framing", 400, "X: a\r\n Content-Length: 5"},
    {"line of blanks", 400, "X: a\r\n \r\nY: b"}, {"blank before name", 400, " X: a"},
    {"slash in name", 400, "X/Y: a"}, {"bracket in name", 400, "X(Y): a"}, {"at sign in name", 400, "X@: a"},
    {"quoted name", 400, "\"X\": a"}, {"comma in name", 400, "X,Y: a"}, {"equals in name", 400, "X=Y: a"},
    {"semicolon in name", 400, "X;Y: a"}, {"brace in name", 400, "{X}: a"},
    {"backslash in name", 400, "X\\Y: a"}, {"non-ASCII name", 400, "X\xC3\xA4: a"},
    {"length with plus", 400, "Content-Length: +5"}, {"length with minus", 400, "Content-Length: -5"},
    {"length minus zero", 400, "Content-Length: -0"}, {"length empty", 400, "Content-Length:"},
    {"length blank", 400, "Content-Length:  "}, {"length in hex", 400, "Content-Length: 0x5"},
    {"length hex digit", 400, "Content-Length: a"}, {"length with underscore", 400, "Content-Length: 1_0"},
    {"length with exponent", 400, "Content-Length: 1e1"},
    {"length with fraction", 400, "Content-Length: 5.0"},
    {"length with blank within", 400, "Content-Length: 1 0"},
    {"length in quotes", 400, "Content-Length: \"5\""}, {"length with garbage", 400, "Content-Length: 5a"},
    {"length with parameter", 400, "Content-Length: 5;a=b"},
    {"length as list of equals", 400, "Content-Length: 5, 5"}, {"length as list", 400, "Content-Length: 5,6"},
    {"length with comma behind", 400, "Content-Length: 5,"},
    {"length with comma before", 400, "Content-Length: ,5"},
    {"length 2^63", 400, "Content-Length: 9223372036854775808"},
    {"length 2^64", 400, "Content-Length: 18446744073709551616"},
    {"length 2^64 + 5", 400, "Content-Length: 18446744073709551621"},
    {"length of 40 digits", 400, "Content-Length: 1000000000000000000000000000000000000000"},
    {"length non-ASCII digit", 400, "Content-Length: \xD9\xA5"},
    {"length twice, equal", 400, "Content-Length: 5\r\nContent-Length: 5"},
    {"length twice", 400, "Content-Length: 5\r\nContent-Length: 6"},
    {"length twice, other case", 400, "Content-Length: 5\r\ncontent-length: 0"},
    {"length twice, zero", 400, "Content-Length: 0\r\nX: a\r\nContent-Length: 5"},
    {"length before coding", 400, "Content-Length: 5\r\nTransfer-Encoding: chunked"},
    {"coding before length", 400, "Transfer-Encoding: chunked\r\nContent-Length: 5"},
    {"length zero and coding", 400, "Content-Length: 0\r\nTransfer-Encoding: chunked"},
    {"length and unknown coding", 400, "Content-Length: 5\r\nTransfer-Encoding: x, chunked"},
    {"coding twice", 400, "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked"},
    {"coding twice, second unknown", 400, "Transfer-Encoding: chunked\r\nTransfer-Encoding: identity"},
    {"coding twice, first unknown", 400, "Transfer-Encoding: x\r\nTransfer-Encoding: chunked"},
    {"coding empty", 400, "Transfer-Encoding:"}, {"coding unknown alone", 400, "Transfer-Encoding: gzip"},
    {"coding identity", 400, "Transfer-Encoding: identity"},
    {"coding with x before", 400, "Transfer-Encoding: xchunked"},
    {"coding with x behind", 400, "Transfer-Encoding: chunkedx"},
    {"coding with blank within", 400, "Transfer-Encoding: chun ked"},
    {"coding in quotes", 400, "Transfer-Encoding: \"chunked\""},
    {"coding in single quotes", 400, "Transfer-Encoding: 'chunked'"},
    {"coding with parameter", 400, "Transfer-Encoding: chunked;a=b"},
    {"coding with semicolon", 400, "Transfer-Encoding: chunked;"},
    {"coding with colon", 400, "Transfer-Encoding: : chunked"},
    {"coding listed twice", 400, "Transfer-Encoding: chunked, chunked"},
    {"coding not last", 400, "Transfer-Encoding: chunked, gzip"},
    {"coding with comma behind", 400, "Transfer-Encoding: chunked,"},
    {"coding with comma before", 400, "Transfer-Encoding: ,chunked"},
    {"coding after gzip", 501, "Transfer-Encoding: gzip, chunked"},
    {"coding after identity", 501, "Transfer-Encoding: identity, chunked"},
    {"coding after two", 501, "Transfer-Encoding: a, b;c=d ,CHUNKED"},
    {"blank before coding's colon", 400, "Transfer-Encoding : chunked"},
    {"expectation unknown", 417, "Expect: 200-ok"}, {"expectation empty", 417, "Expect:"},
    {"expectation listed", 417, "Expect: 100-continue, x"},
    {"expectation with parameter", 417, "Expect: 100-continue;a"},
    {"expectations", 417, "Expect: 100-continue\r\nExpect: x"},
};

inline constexpr Row Heads[] = {
    {"two empty lines first", 400, "\r\n\r\n"}, {"bare LF first", 400, "\nGET / HTTP/1.1\r\nHost: a\r\n\r\n"},
    {"bare CR first", 400, "\rGET / HTTP/1.1\r\nHost: a\r\n\r\n"},
    {"LF lines", 400, "GET / HTTP/1.1\nHost: a\n\n"},
    {"LF behind request line", 400, "GET / HTTP/1.1\nHost: a\r\n\r\n"},
    {"LF behind field line", 400, "GET / HTTP/1.1\r\nHost: a\n\r\n"},
    {"LF for the empty line", 400, "GET / HTTP/1.1\r\nHost: a\r\n\n"},
    {"LF CR", 400, "GET / HTTP/1.1\n\rHost: a\n\r\n\r"}, {"CR lines", 400, "GET / HTTP/1.1\rHost: a\r\r"},
    {"CR behind request line", 400, "GET / HTTP/1.1\rHost: a\r\n\r\n"},
    {"CR behind field line", 400, "GET / HTTP/1.1\r\nHost: a\rX: b\r\n\r\n"},
    {"CR CR LF", 400, "GET / HTTP/1.1\r\nHost: a\r\r\n\r\n"},
    {"CR for the empty line", 400, "GET / HTTP/1.1\r\nHost: a\r\n\rX"},
    {"no Host in 1.1", 400, "GET / HTTP/1.1\r\n\r\n"},
    {"no Host in 1.2", 400, "GET / HTTP/1.2\r\nX: a\r\n\r\n"},
    {"no Host beside absolute target", 400, "GET http://a/ HTTP/1.1\r\n\r\n"},
    {"bad Host beside absolute target", 400, "GET http://a/ HTTP/1.1\r\nHost: b/c\r\n\r\n"},
    {"two Hosts in 1.0", 400, "GET / HTTP/1.0\r\nHost: a\r\nHost: a\r\n\r\n"},
    {"bad Host in 1.0", 400, "GET / HTTP/1.0\r\nHost: a b\r\n\r\n"},
    {"coding in 1.0", 400, "POST / HTTP/1.0\r\nHost: a\r\nTransfer-Encoding: chunked\r\n\r\n"},
    {"blank line with tab", 400, "GET / HTTP/1.1\r\nHost: a\r\n\t\r\n\r\n"},
    {"first field folded", 400, "GET / HTTP/1.1\r\n Host: a\r\n\r\n"},
    {"status line", 400, "HTTP/1.1 200 OK\r\n\r\n"},
    {"TLS client hello", 400, "\x16\x03\x01\x02\x00\x01\x00\x01\xFC\x03\x03"sv},
    {"JSON", 400, "{\"a\": 1}\r\n\r\n"},
};

// clang-format on

} // namespace Malformed

inline std::vector<MalformedRequest> MalformedRequests()
{
    std::vector<MalformedRequest> All;
    const auto Add = [&All](Malformation AKind, std::span<const Malformed::Row> ARows,
                            std::string_view ABefore, std::string_view ABehind) {
        for (const Malformed::Row& Each : ARows)
            All.push_back(
                {AKind, Each.Name, Each.Status, std::string(ABefore).append(Each.Text).append(ABehind)});
    };
    Add(Malformation::RequestLine, Malformed::RequestLines, "", "\r\nHost: a\r\n\r\n");
    Add(Malformation::Host, Malformed::Hosts, "GET / HTTP/1.1\r\nHost:", "\r\n\r\n");
    Add(Malformation::Field, Malformed::FieldLines, "POST / HTTP/1.1\r\nHost: a\r\n", "\r\n\r\n");
    Add(Malformation::Head, Malformed::Heads, "", "");

    // Each control character in each place; HTAB is at home in a value.
    const std::string_view Places[] = {
        "G@T / HTTP/1.1\r\nHost: a\r\n\r\n",          "GET /@ HTTP/1.1\r\nHost: a\r\n\r\n",
        "GET /?@ HTTP/1.1\r\nHost: a\r\n\r\n",        "GET / HTTP/1.1@\r\nHost: a\r\n\r\n",
        "GET / HTTP/1.1\r\nHost: a\r\nX@: b\r\n\r\n", "GET / HTTP/1.1\r\nHost: a\r\nX: b@c\r\n\r\n"};
    for (const std::string_view Place : Places)
        for (int Byte = 0; Byte < 0x80; Byte = Byte == 0x1F ? 0x7F : Byte + 1) {
            if (Byte == '\t' && Place.find("b@c") != Place.npos)
                continue;
            std::string Bytes(Place);
            Bytes[Bytes.find('@')] = static_cast<char>(Byte);
            All.push_back({Malformation::Control,
                           "control character " + std::to_string(Byte) + " in " + std::string(Place), 400,
                           Bytes});
        }
    return All;
}

} // namespace Zn
