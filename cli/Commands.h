#pragma once
// The `corvale` command line, as a library so tests run it in-process
// against in-memory fakes.

#include "platform/SecureBytes.h"
#include "requirements/Requirements.h"
#include "vault/VaultStore.h"

#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvale {

// Asks for a passphrase or password without echoing it; absent when there is
// no terminal to ask on. The answer stays in a wiping buffer.
using PassphrasePrompt = std::function<std::optional<SecureBytes>(std::string_view prompt)>;

// Prompts on /dev/tty with echo off, so a passphrase never lands in scrollback.
// An interrupt while it waits puts echo back before the program ends.
std::optional<SecureBytes> promptOnTerminal(std::string_view prompt);

// One line from `next` without its line ending, held only in wiping buffers;
// absent when `next` gave nothing at all.
std::optional<SecureBytes> readSecretLine(const std::function<bool(char&)>& next);

// The state data files the rules and fees commands read; the ones delivered
// with the program unless a caller gives others.
struct StateData {
    const Requirements* requirements = nullptr;
    const StateFees* fees = nullptr;
};

// Where reminders go; the desktop's notification service unless a caller gives another.
class Notifier;
// Opens the app on a corvale:// link; the desktop app beside this program unless a caller gives another.
using LinkOpener = std::function<void(const std::string& link)>;

// `args` leaves out the program name. Returns 0 on success, 1 when the vault
// refuses (its message on `err`), 2 for a usage error.
int runCommandLine(std::vector<std::string> args, std::istream& in, std::ostream& out, std::ostream& err,
                   VaultStoreSetup setup);
int runCommandLine(std::vector<std::string> args, std::istream& in, std::ostream& out, std::ostream& err,
                   VaultStoreSetup setup, PassphrasePrompt prompt, StateData data = {},
                   Notifier* notifier = nullptr, LinkOpener openLink = {});

}  // namespace corvale
