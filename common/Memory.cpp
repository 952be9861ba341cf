#include "common/Memory.h"

#include <cstdlib>

#include "common/Exceptions.h"

PZnMemoryBuffer ZnGetMem(std::uint32_t ASize)
{
    PZnMemoryBuffer Buffer = nullptr;
    ZnReallocateMem(Buffer, ASize);
    return Buffer;
}

void ZnReallocateMem(PZnMemoryBuffer& ABuffer, std::uint32_t ASize)
{
    auto* Moved = static_cast<PZnMemoryBuffer>(std::realloc(ABuffer, sizeof(TZnMemoryBuffer) + ASize));
    if (!Moved)
        throw EOutOfMemory();
    Moved->Size = ASize;
    ABuffer = Moved;
}

void ZnFreeMem(PZnMemoryBuffer ABuffer)
{
    std::free(ABuffer);
}
