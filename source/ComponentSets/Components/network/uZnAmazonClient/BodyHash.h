#pragma once

#include <string>

class TStream;

namespace Zn
{

/// The lower-case hexadecimal SHA-256 of nothing.
inline constexpr const char* cHashOfNothing =
    "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";

/// The lower-case hexadecimal SHA-256 of the whole stream, read in blocks of 4096 bytes; its position is 0
/// afterwards. nullptr counts as nothing. What the stream raises, such as one that can't seek, passes.
std::string HashOfBody(TStream* ABody);

} // namespace Zn
