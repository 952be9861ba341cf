#pragma once

#include <cstdlib>

#include "tests/support/TemporaryFolder.h"

/// An empty state folder for the HTTP service (ZN_STATE_DIR), deleted with its holder. One at a time.
class TemporaryState : public Zn::TemporaryFolder
{
public:
    TemporaryState() { setenv("ZN_STATE_DIR", Path().c_str(), 1); }
    // What runs without a state of its own must not reach the machine's.
    ~TemporaryState() { setenv("ZN_STATE_DIR", "/dev/null/none", 1); }
};
