#include "records/NPI.h"

#include <algorithm>

namespace corvale {

bool isValidNPI(std::string_view npi) {
    if (npi.size() != 10 || !std::all_of(npi.begin(), npi.end(), [](char c) { return c >= '0' && c <= '9'; })) {
        return false;
    }
    // Luhn over "80840" + the first nine digits, doubling every second digit from the right of that body.
    constexpr int kPrefixSum = 24;  // 80840 contributes 24 once its doubled digits are summed
    int sum = kPrefixSum;
    for (int i = 8; i >= 0; --i) {
        int digit = npi[static_cast<std::size_t>(i)] - '0';
        if ((8 - i) % 2 == 0) {
            digit *= 2;
            if (digit > 9) digit -= 9;
        }
        sum += digit;
    }
    const int check = (10 - sum % 10) % 10;
    return check == npi[9] - '0';
}

}  // namespace corvale
