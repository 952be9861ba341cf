#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Zn
{

/// The folders in which pipes may be, in the order in which they are tried: $ZN_PIPE_DIR alone where
/// it is set, else /run/zn-pipes and the user's runtime folder.
std::vector<std::string> PipeFolders();

/// The first of them that is there or can be made. A folder of the machine is made for everybody, with the
/// sticky bit, so that nobody removes another's pipes; the others for their user alone. ERROR_PATH_NOT_FOUND
/// when there is none.
std::uint32_t MakePipeFolder(std::string& AFolder);

} // namespace Zn
