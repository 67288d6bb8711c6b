#include "platform/ProcessHardening.h"

#include <gtest/gtest.h>

#include <sys/prctl.h>
#include <sys/resource.h>

namespace corvale {
namespace {

TEST(ProcessHardening, LeavesNoCoreFileToWriteAndNoDebuggerToAttach) {
    const ProcessHardening done = hardenProcess();
    EXPECT_TRUE(done.coreDumpsOff);
    rlimit core{};
    ASSERT_EQ(::getrlimit(RLIMIT_CORE, &core), 0);
    EXPECT_EQ(core.rlim_cur, 0u);
    EXPECT_EQ(core.rlim_max, 0u);  // the hard limit too, so nothing later can raise it again
    EXPECT_EQ(done.notDumpable, !kStaysDumpable);
    EXPECT_EQ(::prctl(PR_GET_DUMPABLE), kStaysDumpable ? 1 : 0);
}

}  // namespace
}  // namespace corvale
