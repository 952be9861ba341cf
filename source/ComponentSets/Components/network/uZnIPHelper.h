#pragma once

/// What the library knows about the network of the machine it runs on: address text, name
/// resolution, socket errors.
///
/// Include this header; the folder uZnIPHelper/ holds its parts.

#include "uZnIPHelper/AddressText.h"
#include "uZnIPHelper/NameResolution.h"
#include "uZnIPHelper/Ping.h"
#include "uZnIPHelper/SocketErrors.h"
#include "uZnIPHelper/SystemFunctions.h"
