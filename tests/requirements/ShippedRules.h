#pragma once
// The state data delivered with the program, as boards publish it, loaded once per test program.

#include "platform/linux/PosixFileSystem.h"
#include "requirements/Requirements.h"

#include <gtest/gtest.h>

namespace corvale::testing {

inline const RequirementsFile& shippedRules() {
    static const Requirements requirements = [] {
        PosixFileSystem files;
        return Requirements::load(files, {CORVALE_RESOURCES_DIR});
    }();
    EXPECT_TRUE(requirements.file());
    return *requirements.file();
}

}  // namespace corvale::testing
