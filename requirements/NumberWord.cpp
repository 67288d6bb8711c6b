#include "requirements/NumberWord.h"

#include <cctype>

namespace corvale {

std::string numberWord(int number) {
    static const char* const kWords[] = {"zero",    "one",     "two",       "three",    "four",     "five",    "six",
                                         "seven",   "eight",   "nine",      "ten",      "eleven",   "twelve",  "thirteen",
                                         "fourteen", "fifteen", "sixteen",  "seventeen", "eighteen", "nineteen", "twenty"};
    if (number >= 0 && number <= 20) return kWords[number];
    return std::to_string(number);
}

std::string capitalisedNumberWord(int number) {
    std::string word = numberWord(number);
    word.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(word.front())));
    return word;
}

}  // namespace corvale
