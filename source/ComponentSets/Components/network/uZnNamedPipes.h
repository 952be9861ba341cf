#pragma once

/// Typed messages between processes, on one machine or across machines: data, commands with answers,
/// and pings over a message pipe. TZnNamedPipeServer serves many clients, TZnNamedPipeClient keeps
/// one connection up.
///
/// Include this header; the folder uZnNamedPipes/ holds its parts.

#include "uZnNamedPipes/Client.h"
#include "uZnNamedPipes/DataBuffer.h"
#include "uZnNamedPipes/NetworkLogon.h"
#include "uZnNamedPipes/PipeExceptions.h"
#include "uZnNamedPipes/Server.h"
