#include "platform/linux/PamAuthenticator.h"

#include <gtest/gtest.h>
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
        return {std::move(service), folder, [](const std::string&) { return true; }};
    }
};

TEST_F(PamAuthenticatorTest, ChecksTheTypedPasswordThroughPAM) {
    std::vector<std::string> reasons;
    const auto typing = [&](std::optional<std::string> password) {
        return [&, password](const std::string& reason) {
            reasons.push_back(reason);
            return password;
        };
    };
    EXPECT_EQ(PamAuthenticator(typing("right horse"), options()).authenticate("Unlock Corvale"),
              AuthenticationResult::passed);
    EXPECT_EQ(PamAuthenticator(typing("wrong horse"), options()).authenticate("Turn off app lock"),
              AuthenticationResult::failed);
    EXPECT_EQ(PamAuthenticator(typing(std::nullopt), options()).authenticate("Show your date of birth"),
              AuthenticationResult::failed);  // cancelled: stays locked
    EXPECT_EQ(reasons, (std::vector<std::string>{"Unlock Corvale", "Turn off app lock", "Show your date of birth"}));
}

TEST_F(PamAuthenticatorTest, WhereNothingCanBeCheckedItIsUnavailable) {
    int asked = 0;
    const auto prompt = [&](const std::string&) {
        ++asked;
        return std::optional<std::string>("right horse");
    };
    EXPECT_EQ(PamAuthenticator(nullptr, options()).authenticate("Unlock Corvale"), AuthenticationResult::unavailable);
    auto passwordless = options();
    passwordless.hasPassword = [](const std::string&) { return false; };
    EXPECT_EQ(PamAuthenticator(prompt, passwordless).authenticate("Unlock Corvale"), AuthenticationResult::unavailable);
    EXPECT_EQ(asked, 0);
    EXPECT_TRUE(PamAuthenticator::currentUser());
}

}  // namespace
}  // namespace corvale
