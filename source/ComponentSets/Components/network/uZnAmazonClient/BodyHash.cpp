#include "uZnAmazonClient/BodyHash.h"

#include <array>

#include "common/Hash.h"
#include "common/Streams.h"

std::string Zn::HashOfBody(TStream* ABody)
{
    if (ABody == nullptr)
        return cHashOfNothing;
    THashSHA2 Hash;
    std::array<char, 4096> Block;
    ABody->SetPosition(0);
    while (const std::int64_t Count = ABody->Read(Block.data(), Block.size()))
        Hash.Update({Block.data(), static_cast<std::size_t>(Count)});
    ABody->SetPosition(0);
    return Hash.HashAsString();
}
