#pragma once
// Asks the device's owner to prove who they are (password or biometrics).

#include <string>

namespace corvale {

enum class AuthenticationResult {
    passed,
    failed,
    unavailable,  // the device has no way to ask; treated as passed so app lock never shuts anyone out
};

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

}  // namespace corvale
