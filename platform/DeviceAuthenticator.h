#pragma once
// Asks the device's owner to prove who they are (password or biometrics).

#include <string>
#include <vector>

namespace corvale {

enum class AuthenticationResult {
    passed,
    failed,       // the wrong password, or a check that could not be made
    cancelled,    // the owner closed the prompt; not a refusal to report
    unavailable,  // the device has no way to ask; treated as passed so app lock never shuts anyone out
};

// Whether the answer lets the owner through.
inline bool admits(AuthenticationResult result) {
    return result == AuthenticationResult::passed || result == AuthenticationResult::unavailable;
}

class DeviceAuthenticator {
public:
    virtual ~DeviceAuthenticator() = default;
    virtual AuthenticationResult authenticate(const std::string& reason) = 0;
};

// Where no system prompt exists (the command line, a headless session).
class UnavailableAuthenticator final : public DeviceAuthenticator {
public:
    AuthenticationResult authenticate(const std::string&) override { return AuthenticationResult::unavailable; }
};

// For tests: answers as told, and remembers why it was asked.
class ScriptedAuthenticator final : public DeviceAuthenticator {
public:
    explicit ScriptedAuthenticator(AuthenticationResult first = AuthenticationResult::passed) : answer(first) {}
    AuthenticationResult answer;
    std::vector<std::string> reasons;
    AuthenticationResult authenticate(const std::string& reason) override {
        reasons.push_back(reason);
        return answer;
    }
};

}  // namespace corvale
