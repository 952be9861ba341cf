#include "uZnHTTPClient/ByteRange.h"

void TZnHTTPByteRange::SetFirstBytePos(std::uint32_t AValue)
{
    FFirstBytePos = AValue;
    FFirstByteSet = true;
}

void TZnHTTPByteRange::SetLastBytePos(std::uint32_t AValue)
{
    FLastBytePos = AValue;
    FLastByteSet = true;
}

std::string TZnHTTPByteRange::AsString() const
{
    if (!FFirstByteSet && !FLastByteSet)
        return "bytes=0-";
    std::string Result = "bytes=";
    if (FFirstByteSet)
        Result += std::to_string(FFirstBytePos);
    Result += '-';
    if (FLastByteSet)
        Result += std::to_string(FLastBytePos);
    return Result;
}

void TZnHTTPByteRange::AssignTo(TPersistent* ADest) const
{
    auto* Range = dynamic_cast<TZnHTTPByteRange*>(ADest);
    if (Range == nullptr) {
        TPersistent::AssignTo(ADest);
        return;
    }
    Range->FLastBytePos = FLastBytePos;
    Range->FLastByteSet = FLastByteSet;
    Range->FFirstBytePos = FFirstBytePos;
    Range->FFirstByteSet = FFirstByteSet;
}
