#include "platform/SecureBytes.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace corvale {
namespace {

SecureBytes of(std::string_view text) { return SecureBytes(asBytes(text)); }

TEST(SecureBytes, OwnsItsBytesComparesEveryByteAndWipesOnlyTheRange) {
    std::string source = "key material";
    SecureBytes bytes(asBytes(source));
    source[0] = 'X';
    EXPECT_EQ(asText(bytes.view()), "key material");
    SecureBytes copy = bytes.clone();
    copy.data()[0] = 'K';
    EXPECT_EQ(asText(bytes.view()), "key material");
    EXPECT_EQ(asText(SecureBytes(4).view()), std::string_view("\0\0\0\0", 4));

    EXPECT_TRUE(of("abcdef") == of("abcdef"));
    EXPECT_FALSE(of("abcdef") == of("abcdeg"));
    EXPECT_FALSE(of("abcdef") == of("Abcdef"));
    EXPECT_FALSE(of("abc") == of("abcdef"));
    EXPECT_TRUE(SecureBytes() == of(""));

    std::array<std::uint8_t, 8> buffer = {1, 2, 3, 4, 5, 6, 7, 8};
    secureWipe(buffer.data() + 2, 4);
    EXPECT_EQ(buffer, (std::array<std::uint8_t, 8>{1, 2, 0, 0, 0, 0, 7, 8}));
}

TEST(SecureBytes, MovingTransfersTheBufferAndEmptiesTheSource) {
    SecureBytes first = of("first");
    const std::uint8_t* buffer = first.data();
    SecureBytes second(std::move(first));
    EXPECT_EQ(second.data(), buffer);
    EXPECT_TRUE(first.empty());  // NOLINT(bugprone-use-after-move): moved-from state is part of the contract
    EXPECT_EQ(first.data(), nullptr);

    SecureBytes third = of("third, longer");
    third = std::move(second);
    EXPECT_EQ(third.data(), buffer);
    EXPECT_EQ(asText(third.view()), "first");
    EXPECT_TRUE(second.empty());  // NOLINT(bugprone-use-after-move)

    SecureBytes& alias = third;
    third = std::move(alias);
    EXPECT_EQ(asText(third.view()), "first");
}

// The VmFlags of the mapping that holds `address`, as /proc/self/smaps lists them.
std::string mappingFlags(const void* address) {
    const auto at = reinterpret_cast<std::uintptr_t>(address);
    std::ifstream smaps("/proc/self/smaps");
    std::string line;
    bool inside = false;
    while (std::getline(smaps, line)) {
        std::uintptr_t start = 0, end = 0;
        char dash = 0;
        std::istringstream range(line);
        if (range >> std::hex >> start >> dash >> end && dash == '-' && line.find(' ') != std::string::npos &&
            line.find(':') > line.find(' ')) {
            inside = start <= at && at < end;
        } else if (inside && line.rfind("VmFlags:", 0) == 0) {
            return line;
        }
    }
    return {};
}

TEST(SecureBytes, KeysAndSecretTextLiveInPagesLeftOutOfCoreFiles) {
    SecureBytes key(32);
    const SecureBytes passphrase(asBytes("correct horse battery"));
    EXPECT_EQ(passphrase.text(), "correct horse battery");
    for (const SecureBytes* bytes : {static_cast<const SecureBytes*>(&key), &passphrase}) {
        const std::string flags = mappingFlags(bytes->data());
        ASSERT_FALSE(flags.empty()) << "no mapping holds the buffer";
        EXPECT_NE(flags.find(" dd"), std::string::npos) << flags;  // MADV_DONTDUMP
    }
    // Many buffers at once outgrow the locked arena and still work, zeroed and wiped as ever.
    std::vector<SecureBytes> many;
    for (int i = 0; i < 2000; ++i) many.emplace_back(std::size_t{256});
    EXPECT_EQ(many.back().view()[255], 0);
}

}  // namespace
}  // namespace corvale
