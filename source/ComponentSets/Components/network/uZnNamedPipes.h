#pragma once

/// Typed messages between processes, on one machine or across machines: data, commands with answers,
/// and pings over a message pipe. TZnNamedPipeServer serves many clients, TZnNamedPipeClient keeps
/// one connection up.
///
/// Include this header; the folder uZnNamedPipes/ holds its parts. With it comes the message loop that the
/// events of the owner's thread run in: CreateMainQueue, WaitMessage, ProcessMessages, and QueueFd for a poll
/// loop of the application's own.

#include "platform/messages/Messages.h"
#include "uZnNamedPipes/Client.h"
#include "uZnNamedPipes/DataBuffer.h"
#include "uZnNamedPipes/NetworkLogon.h"
#include "uZnNamedPipes/PipeExceptions.h"
#include "uZnNamedPipes/Server.h"
