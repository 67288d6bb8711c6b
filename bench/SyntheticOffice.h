#pragma once
// The large office vault the benchmarks measure: 500 providers with ten
// credentials, a hundred CME activities and ten recognised documents each.
// The same every run, apart from the record ids.

#include "records/VaultDocument.h"

namespace corvale::bench {

inline constexpr int kProviders = 500;
inline constexpr int kCredentialsEach = 10;
inline constexpr int kCMEEach = 100;
inline constexpr int kDocumentsEach = 10;

VaultDocument makeOfficeVault();

}  // namespace corvale::bench
