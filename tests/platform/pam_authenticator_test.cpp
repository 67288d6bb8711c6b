#include "platform/linux/PamAuthenticator.h"

#include <gtest/gtest.h>
#include <security/pam_appl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

namespace corvale {
namespace {

namespace fs = std::filesystem;

// A real PAM stack from its own folder, shaped like Debian's common-auth:
// pam_exec hands the typed password to a script that accepts only
// "right horse", and anything else falls through to pam_deny.
class PamAuthenticatorTest : public ::testing::Test {
protected:
    fs::path folder = fs::temp_directory_path() / ("pam-test-" + std::to_string(::getpid()));

    void SetUp() override {
        fs::create_directories(folder);
        const fs::path check = folder / "check.sh";
        std::ofstream(check) << "#!/bin/sh\n[ \"$(tr -d '\\000')\" = 'right horse' ]\n";
        ::chmod(check.c_str(), 0755);
        std::ofstream(folder / "corvale-test")
            << "auth [success=1 default=ignore] pam_exec.so expose_authtok quiet " << check.string() << "\n"
            << "auth requisite pam_deny.so\nauth required pam_permit.so\naccount required pam_permit.so\n";
    }
    void TearDown() override { fs::remove_all(folder); }

    PamOptions options(std::string service = "corvale-test") {
        return {std::move(service), folder, "login", [](const std::string&) { return true; }};
    }
};

TEST_F(PamAuthenticatorTest, ChecksTheTypedPasswordThroughPAM) {
    std::vector<std::string> reasons;
    const auto typing = [&](std::optional<std::string> password) {
        return [&, password](const std::string& reason) -> std::optional<SecureBytes> {
            reasons.push_back(reason);
            if (!password) return std::nullopt;
            return SecureBytes(asBytes(*password));
        };
    };
    EXPECT_EQ(PamAuthenticator(typing("right horse"), options()).authenticate("Unlock Corvale"),
              AuthenticationResult::passed);
    EXPECT_EQ(PamAuthenticator(typing("wrong horse"), options()).authenticate("Turn off app lock"),
              AuthenticationResult::failed);
    EXPECT_EQ(PamAuthenticator(typing(std::nullopt), options()).authenticate("Show your date of birth"),
              AuthenticationResult::cancelled);  // stays locked, with nothing to report
    EXPECT_EQ(reasons, (std::vector<std::string>{"Unlock Corvale", "Turn off app lock", "Show your date of birth"}));
}

TEST_F(PamAuthenticatorTest, WhereNothingCanBeCheckedItIsUnavailable) {
    int asked = 0;
    const auto prompt = [&](const std::string&) {
        ++asked;
        return std::optional<SecureBytes>(SecureBytes(asBytes("right horse")));
    };
    EXPECT_EQ(PamAuthenticator(nullptr, options()).authenticate("Unlock Corvale"), AuthenticationResult::unavailable);
    auto passwordless = options();
    passwordless.hasPassword = [](const std::string&) { return false; };
    EXPECT_EQ(PamAuthenticator(prompt, passwordless).authenticate("Unlock Corvale"), AuthenticationResult::unavailable);
    EXPECT_EQ(asked, 0);
    EXPECT_TRUE(PamAuthenticator::currentUser());
}

// An authentication server out of reach, a module that will not load or a
// stack that errs must keep app lock shut, as a wrong password does.
TEST_F(PamAuthenticatorTest, AnythingButSuccessFailsTheCheck) {
    EXPECT_EQ(PamAuthenticator::resultFor(PAM_SUCCESS), AuthenticationResult::passed);
    for (const int status : {PAM_AUTHINFO_UNAVAIL, PAM_SERVICE_ERR, PAM_BUF_ERR, PAM_SYSTEM_ERR, PAM_AUTH_ERR,
                             PAM_USER_UNKNOWN, PAM_MAXTRIES, PAM_CRED_INSUFFICIENT, PAM_CONV_ERR, PAM_ABORT,
                             PAM_OPEN_ERR, PAM_SYMBOL_ERR, PAM_PERM_DENIED}) {
        EXPECT_EQ(PamAuthenticator::resultFor(status), AuthenticationResult::failed) << pam_strerror(nullptr, status);
    }

    std::ofstream(folder / "corvale-broken") << "auth required pam_corvale_no_such_module.so\n";
    const auto rightPassword = [](const std::string&) {
        return std::optional<SecureBytes>(SecureBytes(asBytes("right horse")));
    };
    EXPECT_EQ(PamAuthenticator(rightPassword, options("corvale-broken")).authenticate("Unlock Corvale"),
              AuthenticationResult::failed);
}

TEST_F(PamAuthenticatorTest, OurOwnServiceWhereInstalledElseLogin) {
    EXPECT_EQ(PamAuthenticator::serviceFor(options()), "corvale-test");
    EXPECT_EQ(PamAuthenticator::serviceFor(options("corvale-not-installed")), "login");
    EXPECT_EQ(PamOptions().service, "corvale");
}

}  // namespace
}  // namespace corvale
