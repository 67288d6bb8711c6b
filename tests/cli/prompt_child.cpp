// Asks once on the terminal, as the command line does, and prints what came back.

#include "cli/Commands.h"

#include <cstdio>

int main() {
    auto typed = corvale::promptOnTerminal("Passphrase: ");
    if (!typed) return 3;
    std::printf("[%.*s]\n", static_cast<int>(typed->size()), reinterpret_cast<const char*>(typed->data()));
    return 0;
}
