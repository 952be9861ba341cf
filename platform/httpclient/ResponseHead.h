#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Zn::HttpClient
{

/// The head of one response: its text in one piece and an index of its fields. Heads of 100 (Continue) and
/// the like, and those of a proxy's CONNECT, pass through it and are taken over by the next.
class ResponseHead
{
public:
    struct Limits
    {
        std::uint32_t Bytes;
        std::uint32_t Lines;
    };

    void Clear();
    /// A line as it came, with its line end. 0, or 12181, 12182 (limits), 12152 (no head).
    std::uint32_t AddLine(std::string_view ALine, const Limits& ALimits);

    /// The empty line was added.
    bool IsComplete() const { return FComplete; }
    bool IsEmpty() const { return FText.empty(); }
    /// 0 before there is a status line.
    std::uint32_t Status() const { return FStatus; }
    std::string_view Version() const { return Text(FVersion); }
    std::string_view Reason() const { return Text(FReason); }
    /// Status line first, CR LF behind each, the empty line last; folded lines are joined.
    std::string_view Raw() const { return FText; }
    std::optional<std::string_view> Find(std::string_view AName, std::size_t AOccurrence = 0) const;

private:
    struct Piece
    {
        std::uint32_t Begin = 0;
        std::uint32_t Length = 0;
    };
    struct Field
    {
        Piece Name;
        Piece Value;
    };

    std::string_view Text(Piece APiece) const { return {FText.data() + APiece.Begin, APiece.Length}; }
    Piece PieceOf(std::string_view APart) const;
    std::uint32_t AddStatusLine(std::string_view ALine);
    std::uint32_t AddField(std::string_view ALine);
    std::uint32_t Unfold(std::string_view ALine);
    bool Contradicts(const Field& AField) const;

    std::string FText;
    std::vector<Field> FFields;
    Piece FVersion;
    Piece FReason;
    std::uint32_t FStatus = 0;
    std::uint32_t FLines = 0;
    bool FComplete = false;
};

} // namespace Zn::HttpClient
