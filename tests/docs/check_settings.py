"""Compares docs/settings.md with the headers, both ways: setters, the service's limits, environment variables.
Usage: check_settings.py SOURCE-FOLDER [FILE: writes the page's examples there, as C++]"""

import re
import sys
from pathlib import Path

ROOT = Path(sys.argv[1])
UNITS = ROOT / "source/ComponentSets/Components/network"
# Setters that are no settings: of lists and streams, for the library's own parts, and of what only hands them on.
NOT_SETTINGS = {"TZnHTTPHeaderList", "TWinSocketStream", "TZnHTTPClient", "TZnHTTPSession", "TZnBodyContent",
                ("TZnHTTPServerAuthTokenManager", "Logger")}
# What the examples speak of.
OBJECTS = """
#include <string>

#include "common/Streams.h"
#include "platform/httpapi/Httpapi.h"
#include "uZnAmazonClient.h"
#include "uZnHTTPServer.h"
#include "uZnIPHelper.h"
#include "uZnNamedPipes.h"
#include "uZnTCPClient.h"
#include "uZnWinHTTP.h"
#include "uZnWinINet.h"

void Examples(TZnHTTPServer& Server, TZnHTTPServerOnResponse Handler, TZnHTTPServerOnResponseRaw RawHandler,
              TZnHTTServerOnGetStoredPassword Accounts, TZnHTTPServerResponse& Response,
              TZnHTTPServerAuthTokenManager& Tokens, TZnHTTPServerOIDC& Provider, TZnWinHTTPClient& Client,
              TZnWinINetClient& AskingClient, TZnWinINetSession& AskingSession, TZnWinHTTPSession& Session, TZnHTTPTimeOuts& TimeOuts, TZnCredentials& Credentials, TZnOAuth& OAuth,
              TZnHTTPRequestHeaders& Headers, TZnHTTPCacheControl& Cache, TZnHTTPByteRange& Range,
              TZnNamedPipe& Pipe, TZnNamedPipeServer& PipeServer, TZnNamedPipeClient& PipeClient, TZnTCPClient& Tcp,
              TZnNetworkAdapters& Adapters, TZnAmazonClient& Amazon, TZnHttpServiceLimits& Limits,
              std::string Secret, std::string CertificatePem, std::string KeyPem, AnsiString Bytes,
              TMemoryStream& Stream);
"""
problems = []


def compare(what, in_code, on_page):
    problems.extend(f"{what}: the page lacks {item}" for item in sorted(in_code - on_page))
    problems.extend(f"{what}: the code has no {item}" for item in sorted(on_page - in_code))


def setters():
    """(class, property) of each public setter of the units."""
    for header in sorted(UNITS.rglob("*.h")):
        owner, access = None, None
        for line in header.read_text().splitlines():
            if found := re.match(r"(class|struct) (?:ZN_API )?(\w+)(?!.*;)", line):
                owner, access = found[2], "public" if found[1] == "struct" else "private"
            elif found := re.match(r"(public|protected|private):", line):
                access = found[1]
            elif access == "public" and owner.startswith("T"):
                if found := re.match(r"\s+(?:static |virtual )?void Set([A-Z]\w*)\(", line):
                    yield owner, found[1]


sections = {}
examples = []
title = ""
for line in (ROOT / "docs/settings.md").read_text().splitlines():
    if found := re.match(r"## (.*)", line):
        title = re.sub(r".*`(\w+)`", r"\1", found[1])
    elif line.startswith("| `"):
        cells = [cell.strip() for cell in line.strip("|").split(" | ")]
        sections.setdefault(title, []).extend(re.findall(r"`(\w+)`", cells[0]))
        if title != "Environment variables":
            examples.append(cells[4].strip(" |`"))

compare("setting",
        {".".join(each) for each in setters() if each[0] not in NOT_SETTINGS and each not in NOT_SETTINGS},
        {f"{title}.{name}" for title, names in sections.items() if re.match(r"T(?!ZnHttpServiceLimits)", title)
         for name in names})

service = (ROOT / "platform/httpapi/Httpapi.h").read_text()
limits = re.search(r"struct TZnHttpServiceLimits\n\{(.*?)\n\};", service, re.S)[1]
compare("limit", set(re.findall(r"^    std::\w+ (\w+) =", limits, re.M)), set(sections["TZnHttpServiceLimits"]))

sources = [path.read_text() for folder in ("platform", "common", "source", "tools")
           for path in (ROOT / folder).rglob("*.cpp")]
asked = {name for text in sources
         for name in re.findall(r'(?:getenv|Environment|Setting)\("(\w+)"\)|"((?:ZN|AWS)_[A-Z_]+)"', text) for name in name
         if name}
written = set(sections["Environment variables"])
literals = {name for text in sources for name in re.findall(r'"(\w+)"', text)}
compare("variable", asked - written, set())
compare("variable", set(), written - literals)

if len(sys.argv) > 2:
    parameters = re.search(r"Examples\((.*)\);", OBJECTS, re.S)[1]
    body = "\n".join(f"    {example};" for example in examples if example)
    Path(sys.argv[2]).write_text(OBJECTS + f"\nvoid Examples({parameters})\n{{\n{body}\n}}\n")

for problem in problems:
    print(problem)
print(f"{sum(map(len, sections.values()))} settings: {len(problems)} differences")
sys.exit(1 if problems else 0)
