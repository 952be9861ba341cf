#pragma once

#include <memory>

#include "common/Component.h"

namespace Zn
{

/// What TZnHTTPClient and TZnHTTPSession make their objects with. The components implement IZnHTTPClient
/// and IZnHTTPSession.
struct TransportFactory
{
    std::unique_ptr<TComponent> (*MakeClient)();
    std::unique_ptr<TComponent> (*MakeSession)();
};

/// The fronts know no transport: the unit of one registers it before main(), by a static object in its
/// Registration.cpp. That object is kept by the linker wherever the unit's target is linked, since the target
/// asks for its symbol (see the unit's CMakeLists.txt). AFactory has to last.
void RegisterTransport(bool ANTService, const TransportFactory& AFactory);

/// Raises EZnHTTPInvalidArgument when that transport isn't part of the program.
const TransportFactory& FindTransport(bool ANTService);

} // namespace Zn
