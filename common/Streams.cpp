#include "common/Streams.h"

#include <algorithm>
#include <array>
#include <memory>

#include "common/Encoding.h"
#include "common/Exceptions.h"

void TStream::ReadBuffer(void* ABuffer, std::int64_t ACount)
{
    if (Read(ABuffer, ACount) != ACount)
        throw EReadError("Stream read error");
}

void TStream::WriteBuffer(const void* ABuffer, std::int64_t ACount)
{
    if (Write(ABuffer, ACount) != ACount)
        throw EWriteError("Stream write error");
}

std::int64_t TStream::CopyFrom(TStream& ASource, std::int64_t ACount)
{
    if (ACount == 0) {
        ASource.SetPosition(0);
        ACount = ASource.GetSize();
    }
    constexpr std::int64_t cPiece = 64 * 1024;
    auto Buffer =
        std::make_unique_for_overwrite<std::byte[]>(static_cast<std::size_t>(std::min(ACount, cPiece)));
    for (std::int64_t Left = ACount; Left > 0;) {
        std::int64_t Piece = std::min(Left, cPiece);
        ASource.ReadBuffer(Buffer.get(), Piece);
        WriteBuffer(Buffer.get(), Piece);
        Left -= Piece;
    }
    return ACount;
}

TStringStream::TStringStream(std::string_view AText)
{
    WriteString(AText);
    SetPosition(0);
}

void TStringStream::WriteString(std::string_view AText)
{
    WriteBuffer(AText.data(), static_cast<std::int64_t>(AText.size()));
}

TZnStringStream::TZnStringStream(std::uint16_t ACodePage, std::int64_t ABlockSize)
    : TMemoryStream(ABlockSize), FCodePage(ACodePage)
{
}

std::string TZnStringStream::GetAsString() const
{
    return TZnEncoding::ConvertA(View(), FCodePage);
}

void TZnStringStream::SetAsString(std::string_view AText)
{
    std::string Bytes = TZnEncoding::ConvertW(AText, FCodePage); // raises before anything is changed
    Clear();
    WriteBuffer(Bytes.data(), static_cast<std::int64_t>(Bytes.size()));
    SetPosition(0);
}

void TZnStringStream::WriteString(std::string_view AText)
{
    std::string Bytes = TZnEncoding::ConvertW(AText, FCodePage);
    WriteBuffer(Bytes.data(), static_cast<std::int64_t>(Bytes.size()));
}

std::string ZnStreamToAnsiString(TStream& AStream, std::uint16_t ACodePage)
{
    std::string Bytes(static_cast<std::size_t>(AStream.GetSize()), '\0');
    AStream.SetPosition(0);
    AStream.ReadBuffer(Bytes.data(), static_cast<std::int64_t>(Bytes.size()));
    return TZnEncoding::ConvertA(Bytes, ACodePage);
}

bool ZnStreamToReadBuf(TStream& AStream, const void*& ABuffer, std::int64_t& ALength)
{
    if (auto* InMemory = dynamic_cast<TMemoryStream*>(&AStream)) {
        ABuffer = InMemory->Memory();
        ALength = InMemory->GetSize();
        return false;
    }
    const std::int64_t Length = AStream.GetSize();
    const std::int64_t Position = AStream.GetPosition();
    auto Bytes = std::make_unique_for_overwrite<std::byte[]>(static_cast<std::size_t>(Length));
    AStream.SetPosition(0);
    AStream.ReadBuffer(Bytes.get(), Length);
    AStream.SetPosition(Position);
    ABuffer = Bytes.release();
    ALength = Length;
    return true;
}

void ZnFreeReadBuf(const void* ABuffer)
{
    delete[] static_cast<const std::byte*>(ABuffer);
}
