#pragma once

#include <cstdint>
#include <memory>

#include "platform/pipes/PipeName.h"
#include "platform/pipes/PipeStream.h"

namespace Zn
{

/// Opens an instance of the pipe at once: 0 with the stream; ERROR_PIPE_BUSY, ERROR_FILE_NOT_FOUND or another
/// number.
std::uint32_t OpenPipe(const PipeName& AName, std::shared_ptr<PipeStream>& AStream);

/// Opens an instance as soon as one is free, at most AMilliseconds from now: ERROR_SEM_TIMEOUT.
std::uint32_t OpenPipeWithin(const PipeName& AName, std::uint32_t AMilliseconds,
                             std::shared_ptr<PipeStream>& AStream);

} // namespace Zn
