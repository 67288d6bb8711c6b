#include "platform/memory/InMemorySecretStore.h"

#include <gtest/gtest.h>

namespace corvale {
namespace {

TEST(InMemorySecretStore, ReplacesPerAccountAndScheduledFailuresChangeNothing) {
    InMemorySecretStore store;
    ASSERT_TRUE(store.save("vault", "alice", asBytes("first")).ok());
    ASSERT_TRUE(store.save("vault", "bob", asBytes("bob's")).ok());
    ASSERT_TRUE(store.save("vault", "alice", asBytes("kept")).ok());
    EXPECT_EQ(store.itemCount(), 2u);

    auto status = [](const auto& result) { return result.ok() ? 0 : result.error().status; };
    store.failNext(3, -25308);
    EXPECT_EQ(status(store.save("vault", "alice", asBytes("lost"))), -25308);
    EXPECT_EQ(status(store.remove("vault", "alice")), -25308);
    EXPECT_EQ(status(store.load("vault", "alice")), -25308);

    const auto after = store.load("vault", "alice");
    ASSERT_TRUE(after.ok() && after->has_value());
    EXPECT_EQ(asText((*after)->view()), "kept");
    ASSERT_TRUE(store.remove("vault", "alice").ok());
    EXPECT_FALSE(store.load("vault", "alice")->has_value());
}

}  // namespace
}  // namespace corvale
