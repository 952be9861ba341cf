#include "uZnNamedPipes/DataBuffer.h"

#include <cstdlib>
#include <cstring>
#include <string_view>

#include "common/Exceptions.h"

static_assert(sizeof(TZnDataBuffer) == 5);

namespace
{

PZnDataBuffer CopyOf(std::string_view ABytes, TZnDataBufType ADataType)
{
    if (ABytes.size() > UINT32_MAX)
        throw EOutOfMemory();
    const PZnDataBuffer Buffer = ZnGetDataBuffer(static_cast<std::uint32_t>(ABytes.size()), ADataType);
    if (!ABytes.empty())
        std::memcpy(Buffer->Data(), ABytes.data(), ABytes.size());
    return Buffer;
}

std::string_view Bytes(const TZnDataBuffer& ABuffer)
{
    return {reinterpret_cast<const char*>(ABuffer.Data()), ABuffer.Size};
}

} // namespace

PZnDataBuffer ZnGetDataBuffer(std::uint32_t ASize, TZnDataBufType ADataType)
{
    auto* Buffer = static_cast<PZnDataBuffer>(std::calloc(1, sizeof(TZnDataBuffer) + ASize));
    if (!Buffer)
        throw EOutOfMemory();
    Buffer->DataType = ADataType;
    Buffer->Size = ASize;
    return Buffer;
}

PZnDataBuffer ZnGetDataBuffer(const AnsiString& AText)
{
    return CopyOf(AText.Bytes(), btAString);
}

PZnDataBuffer ZnGetDataBuffer(const std::string& AText)
{
    return CopyOf(AText, btUTF8);
}

void ZnReallocDataBuffer(PZnDataBuffer& ABuffer, std::uint32_t ASize)
{
    auto* Moved = static_cast<PZnDataBuffer>(std::realloc(ABuffer, sizeof(TZnDataBuffer) + ASize));
    if (!Moved)
        throw EOutOfMemory();
    Moved->Size = ASize;
    ABuffer = Moved;
}

void ZnFreeDataBuffer(PZnDataBuffer& ABuffer)
{
    std::free(ABuffer);
    ABuffer = nullptr;
}

PZnDataBuffer ZnCloneDataBuffer(const TZnDataBuffer* ABuffer)
{
    return CopyOf(Bytes(*ABuffer), ABuffer->DataType);
}

std::string Zn::DataBufferToAnsi(const TZnDataBuffer& ABuffer)
{
    return std::string(Bytes(ABuffer));
}

std::string Zn::DataBufferToString(const TZnDataBuffer& ABuffer)
{
    return TZnEncoding::ConvertA(Bytes(ABuffer), cZnCodePageUTF8);
}
