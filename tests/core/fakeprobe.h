// The four register operations of the probe library, over an array of the test. They are
// exported by the test program and so come before those of the library itself.
#pragma once
#include "platform/probe/bryllo.h"

#include <map>
#include <string>

struct FAKE_PROBE {
    U64 aReg[66];
    bool IsFailing;                   ///< every call fails
    std::map<std::string, U64> CPReg; ///< by name
};
FAKE_PROBE& GetFakeProbe();
