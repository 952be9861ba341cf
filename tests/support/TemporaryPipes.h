#pragma once

#include <cstdlib>
#include <string>

#include "tests/support/TemporaryFolder.h"

namespace Zn
{

/// A folder of its own for the pipes of one test, gone with it.
class TemporaryPipes
{
public:
    TemporaryPipes() { setenv("ZN_PIPE_DIR", Folder().c_str(), 1); }
    ~TemporaryPipes() { unsetenv("ZN_PIPE_DIR"); }
    TemporaryPipes(const TemporaryPipes&) = delete;
    TemporaryPipes& operator=(const TemporaryPipes&) = delete;

    const std::string& Folder() const { return FFolder.Path().native(); }

private:
    TemporaryFolder FFolder;
};

} // namespace Zn
