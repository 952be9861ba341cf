#pragma once

#include <memory>

#include "common/Component.h"

namespace Zn
{

/// The client that a component has until it is given another one. Redirects are left to the caller, as a
/// request to another place needs another signature.
std::unique_ptr<TComponent> MakeDefaultClient();

/// Has a transport that can be told so use TLS 1.1 and 1.2; leaves any other alone.
void LimitProtocols(TComponent& AClient);

} // namespace Zn
