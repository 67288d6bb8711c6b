#pragma once

#include <string>

namespace corvale {

// "one" to "twenty" in words, larger numbers in digits, for sentences such as "Three things need you this month."
std::string numberWord(int number);

// The same with its first letter raised, to open a sentence.
std::string capitalisedNumberWord(int number);

}  // namespace corvale
