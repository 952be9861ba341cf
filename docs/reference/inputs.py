"""Lists the headers that an application sees: the units' own, what these include, and some that it includes by itself."""

import re
from pathlib import Path

UNITS = Path("source/ComponentSets/Components/network")
# Beside the units' own: what programs use together with them.
ALSO = ["common/Deflate.h", "common/Hash.h", "common/NetEncoding.h", "common/System.h", "common/Text.h",
        "common/TextParser.h", "common/TextSet.h", "platform/errors/Errors.h", "platform/loader/Loader.h"]

# The functions of platform services, which the units' bindings call: for those who put a service of their own in the place of
# a built-in one. And the compiler's annotations.
NOT = {"platform/firewall/NetFw.h", "platform/httpapi/Httpapi.h", "platform/icmp/Icmp.h", "platform/iphelper/Adapters.h",
       "platform/iphelper/Functions.h", "platform/pipes/Pipes.h", "platform/sync/ThreadAnnotations.h", "platform/Api.h",
       "platform/winhttp/Values.h", "platform/winhttp/Winhttp.h", "platform/wininet/Wininet.h", "platform/wlan/Wlan.h"}

seen = set()
waiting = sorted(UNITS.glob("uZn*.h")) + [Path(name) for name in ALSO]
while waiting:
    header = waiting.pop()
    if header in seen:
        continue
    seen.add(header)
    for name in re.findall(r'#include "([^"]+)"', header.read_text()):
        waiting.extend(found for found in (Path(name), UNITS / name) if found.exists())
print(" ".join(sorted(set(map(str, seen)) - NOT)))
