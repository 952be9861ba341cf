#pragma once

#include "common/Streams.h"

namespace Zn
{

/// Standard output as a stream that is only written. EWriteError when nobody takes it.
class TOutputStream : public TStream
{
public:
    std::int64_t Read(void* ABuffer, std::int64_t ACount) override;
    std::int64_t Write(const void* ABuffer, std::int64_t ACount) override;
    /// Tells the position; another one is refused with EStreamError.
    std::int64_t Seek(std::int64_t AOffset, TSeekOrigin AOrigin) override;
    std::int64_t GetSize() const override { return FWritten; }
    void SetSize(std::int64_t ASize) override;

private:
    std::int64_t FWritten = 0;
};

} // namespace Zn
