#pragma once
// Device-owner authentication on Linux: the user's own account password,
// checked by PAM the way the login screen checks it.

#include "platform/DeviceAuthenticator.h"
#include "platform/SecureBytes.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace corvale {

struct PamOptions {
    // Installed with the app as /etc/pam.d/corvale.
    std::string service = "corvale";
    // A folder of PAM service files to use instead of the system's.
    std::optional<std::filesystem::path> configDirectory;
    // Used when `service` is not installed. Every Linux desktop has "login",
    // and it checks the same password the sign-in screen does; "other" is
    // deny-all on some systems and anything at all on others.
    std::string fallbackService = "login";
    // Whether the account has a password at all; by default read from the shadow file where that is readable.
    std::function<bool(const std::string& user)> hasPassword;
};

class PamAuthenticator final : public DeviceAuthenticator {
public:
    // Shows the reason and asks for the password; absent when the user cancels.
    using PasswordPrompt = std::function<std::optional<SecureBytes>(const std::string& reason)>;

    // Without a prompt nothing can be asked, so authentication is unavailable.
    explicit PamAuthenticator(PasswordPrompt prompt, PamOptions options = PamOptions());

    // passed for the right password; failed for a wrong one or any PAM error;
    // cancelled when the prompt was closed; unavailable only when nothing can
    // be asked (no prompt, no user, an account without a password).
    AuthenticationResult authenticate(const std::string& reason) override;

    // The name of the user this process runs as, or absent.
    static std::optional<std::string> currentUser();

    // What pam_authenticate's status means here. Only success passes; every
    // error fails, an unreachable authentication server (PAM_AUTHINFO_UNAVAIL)
    // and a broken stack among them, so app lock is never opened by a fault.
    // An account with no password is found before PAM is asked, since PAM has
    // no status of its own for it.
    static AuthenticationResult resultFor(int pamStatus);

    // The service PAM is started with: ours where it is installed, else the fallback.
    static std::string serviceFor(const PamOptions& options);

private:
    PasswordPrompt m_prompt;
    PamOptions m_options;
};

}  // namespace corvale
