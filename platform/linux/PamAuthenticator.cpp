#include "platform/linux/PamAuthenticator.h"

#include <pwd.h>
#include <security/pam_appl.h>
#include <shadow.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <vector>

namespace corvale {
namespace {

struct Conversation {
    const PamAuthenticator::PasswordPrompt* prompt;
    const std::string* reason;
    bool asked = false;
    bool cancelled = false;
    std::optional<SecureBytes> password;
};

int converse(int count, const pam_message** messages, pam_response** responses, void* data) {
    auto& conversation = *static_cast<Conversation*>(data);
    if (count <= 0) return PAM_CONV_ERR;
    auto* replies = static_cast<pam_response*>(std::calloc(static_cast<std::size_t>(count), sizeof(pam_response)));
    if (!replies) return PAM_BUF_ERR;
    for (int i = 0; i < count; ++i) {
        if (messages[i]->msg_style != PAM_PROMPT_ECHO_OFF && messages[i]->msg_style != PAM_PROMPT_ECHO_ON) continue;
        // PAM may ask more than once in a stack; the user is asked only the first time.
        if (!conversation.asked) {
            conversation.asked = true;
            conversation.password = (*conversation.prompt)(*conversation.reason);
        }
        if (!conversation.password) {
            conversation.cancelled = true;
            for (int j = 0; j < i; ++j) std::free(replies[j].resp);
            std::free(replies);
            return PAM_CONV_ERR;
        }
        // PAM owns and frees the reply; Linux-PAM overwrites it before freeing.
        replies[i].resp =
            strndup(reinterpret_cast<const char*>(conversation.password->data()), conversation.password->size());
        if (!replies[i].resp) {
            for (int j = 0; j < i; ++j) std::free(replies[j].resp);
            std::free(replies);
            return PAM_BUF_ERR;
        }
    }
    *responses = replies;
    return PAM_SUCCESS;
}

// An account whose password is locked or empty has nothing to check against.
// Only readable with privileges; otherwise the account is taken to have one and PAM decides.
bool shadowHasPassword(const std::string& user) {
    const spwd* entry = getspnam(user.c_str());
    if (!entry || !entry->sp_pwdp) return true;
    const char first = entry->sp_pwdp[0];
    return first != '\0' && first != '!' && first != '*';
}

}  // namespace

PamAuthenticator::PamAuthenticator(PasswordPrompt prompt, PamOptions options)
    : m_prompt(std::move(prompt)), m_options(std::move(options)) {
    if (!m_options.hasPassword) m_options.hasPassword = shadowHasPassword;
}

std::optional<std::string> PamAuthenticator::currentUser() {
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found) return std::nullopt;
    return std::string(found->pw_name);
}

AuthenticationResult PamAuthenticator::authenticate(const std::string& reason) {
    const auto user = currentUser();
    if (!m_prompt || !user || !m_options.hasPassword(*user)) return AuthenticationResult::unavailable;

    // The password stays in the conversation's wiping buffer until it goes out of scope here.
    Conversation conversation{&m_prompt, &reason, false, false, std::nullopt};
    const pam_conv callbacks{&converse, &conversation};
    pam_handle_t* handle = nullptr;
    const std::string service = serviceFor(m_options);
    const std::string folder = m_options.configDirectory ? m_options.configDirectory->string() : std::string();
    const int started = pam_start_confdir(service.c_str(), user->c_str(), &callbacks,
                                          folder.empty() ? nullptr : folder.c_str(), &handle);
    if (started != PAM_SUCCESS) return resultFor(started);
    const int status = pam_authenticate(handle, PAM_SILENT | PAM_DISALLOW_NULL_AUTHTOK);
    pam_end(handle, status);
    if (status != PAM_SUCCESS && conversation.cancelled) return AuthenticationResult::cancelled;
    return resultFor(status);
}

AuthenticationResult PamAuthenticator::resultFor(int pamStatus) {
    return pamStatus == PAM_SUCCESS ? AuthenticationResult::passed : AuthenticationResult::failed;
}

std::string PamAuthenticator::serviceFor(const PamOptions& options) {
    const auto installed = [&](const std::filesystem::path& folder) {
        std::error_code ignored;
        return std::filesystem::exists(folder / options.service, ignored);
    };
    if (options.configDirectory) return installed(*options.configDirectory) ? options.service : options.fallbackService;
    // Linux-PAM reads the administrator's folder first, then the distribution's.
    return installed("/etc/pam.d") || installed("/usr/lib/pam.d") ? options.service : options.fallbackService;
}

}  // namespace corvale
