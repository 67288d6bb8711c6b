#pragma once
// Keeps this process's memory, which holds the vault key and decrypted
// records, out of core files and away from debuggers of the same user.

namespace corvale {

// LeakSanitizer stops the world at exit by ptrace-attaching to the process's
// own threads, which a non-dumpable process refuses; sanitizer builds stay
// dumpable (core files are still off) so their leak check keeps working.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool kStaysDumpable = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr bool kStaysDumpable = true;
#else
inline constexpr bool kStaysDumpable = false;
#endif
#else
inline constexpr bool kStaysDumpable = false;
#endif

struct ProcessHardening {
    bool coreDumpsOff = false;  // RLIMIT_CORE is 0, soft and hard
    bool notDumpable = false;   // PR_SET_DUMPABLE is 0: no core, no ptrace, /proc/<pid>/mem closed to others
};

// Call first thing in main, before any secret is read. Each step is tried on
// its own; what failed is reported rather than stopping the program.
ProcessHardening hardenProcess();

}  // namespace corvale
