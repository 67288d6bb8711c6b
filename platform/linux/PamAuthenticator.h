#pragma once
// Device-owner authentication on Linux: the user's own account password,
// checked by PAM the way the login screen checks it.

#include "platform/DeviceAuthenticator.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace corvale {

struct PamOptions {
    std::string service = "login";
    // A folder of PAM service files to use instead of the system's.
    std::optional<std::filesystem::path> configDirectory;
    // Whether the account has a password at all; by default read from the shadow file where that is readable.
    std::function<bool(const std::string& user)> hasPassword;
};

class PamAuthenticator final : public DeviceAuthenticator {
public:
    // Shows the reason and asks for the password; absent when the user cancels.
    using PasswordPrompt = std::function<std::optional<std::string>(const std::string& reason)>;

    // Without a prompt nothing can be asked, so authentication is unavailable.
    explicit PamAuthenticator(PasswordPrompt prompt, PamOptions options = PamOptions());

    // passed for the right password; failed for a wrong one or a cancelled
    // prompt; unavailable when the account has no password to check or PAM
    // cannot run at all.
    AuthenticationResult authenticate(const std::string& reason) override;

    // The name of the user this process runs as, or absent.
    static std::optional<std::string> currentUser();

private:
    PasswordPrompt m_prompt;
    PamOptions m_options;
};

}  // namespace corvale
