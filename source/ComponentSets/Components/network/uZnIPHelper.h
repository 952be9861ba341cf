#pragma once

/// What the library knows about the network of the machine it runs on: address text, name
/// resolution, ping, Wake-on-LAN, the machine's name and addresses, its adapters and their changes, socket
/// errors.
///
/// Include this header; the folder uZnIPHelper/ holds its parts.

#include "uZnIPHelper/AddressText.h"
#include "uZnIPHelper/HostFacts.h"
#include "uZnIPHelper/IPAddresses.h"
#include "uZnIPHelper/NameResolution.h"
#include "uZnIPHelper/NetworkAdapters.h"
#include "uZnIPHelper/Ping.h"
#include "uZnIPHelper/SocketErrors.h"
#include "uZnIPHelper/SystemFunctions.h"
#include "uZnIPHelper/WakeOnLan.h"
