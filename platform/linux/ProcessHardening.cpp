#include "platform/ProcessHardening.h"

#include <sys/prctl.h>
#include <sys/resource.h>

namespace corvale {

ProcessHardening hardenProcess() {
    ProcessHardening result;
    // Both, because a core_pattern that pipes to a helper ignores RLIMIT_CORE
    // while non-dumpable processes are never handed to it.
    const rlimit none{0, 0};
    result.coreDumpsOff = ::setrlimit(RLIMIT_CORE, &none) == 0;
    if (!kStaysDumpable) result.notDumpable = ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0;
    return result;
}

}  // namespace corvale
