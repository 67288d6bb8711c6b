#include "records/NPI.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace corvale {
namespace {

// The plain Luhn rule over a whole digit string, written the textbook way.
bool luhnValid(const std::string& digits) {
    int sum = 0;
    bool doubled = false;
    for (auto it = digits.rbegin(); it != digits.rend(); ++it) {
        int digit = *it - '0';
        if (doubled) digit = digit * 2 > 9 ? digit * 2 - 9 : digit * 2;
        sum += digit;
        doubled = !doubled;
    }
    return sum % 10 == 0;
}

TEST(NPI, TheCheckDigitIsLuhnOverThePrefixedNumber) {
    EXPECT_TRUE(isValidNPI("1234567893"));  // the registry's published example
    EXPECT_FALSE(isValidNPI("1234567890"));
    for (const char* malformed : {"", "123456789", "12345678930", "12345678a3", " 1234567893", "1234-67893"}) {
        EXPECT_FALSE(isValidNPI(malformed)) << malformed;
    }
    // For any nine-digit body exactly one last digit passes, the one Luhn over 80840 + the number accepts.
    std::mt19937 random(20261122);
    for (int trial = 0; trial < 200; ++trial) {
        std::string body = std::to_string(100000000 + random() % 900000000);
        int passing = 0;
        for (char last = '0'; last <= '9'; ++last) {
            const std::string npi = body + last;
            EXPECT_EQ(isValidNPI(npi), luhnValid("80840" + npi)) << npi;
            passing += isValidNPI(npi) ? 1 : 0;
        }
        EXPECT_EQ(passing, 1) << body;
    }
}

}  // namespace
}  // namespace corvale
