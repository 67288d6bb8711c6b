#include "platform/memory/InMemoryFileSystem.h"
#include "platform/memory/InMemorySecretStore.h"
#include "vault/DropFolder.h"

#include <gtest/gtest.h>

#include <functional>

namespace corvale {
namespace {

using namespace std::chrono_literals;

// Reads files that begin "TEXT:" as the rest of their bytes, and nothing else; may run a hook while it reads.
class TextFiles final : public TextRecognizer {
public:
    std::function<void()> whileReading;
    int reads = 0;
    Result<RecognizedDocument, RecognitionError> read(ByteView file) override {
        ++reads;
        if (whileReading) whileReading();
        const std::string_view text = asText(file);
        if (!text.starts_with("TEXT:")) return fail(RecognitionError{RecognitionError::Code::notADocument});
        return RecognizedDocument{std::string(text.substr(5)), 1, true};
    }
};

struct Inbox : ::testing::Test {
    InMemoryFileSystem files;
    InMemorySecretStore secrets;
    FixedClock clock{std::chrono::system_clock::time_point{} + 1'780'000'000s};
    ManualScheduler scheduler;
    ScriptedAuthenticator authenticator;
    TextFiles recognizer;
    std::filesystem::path inbox = DropFolder::defaultFolder("/home/ana");
    VaultStore store{{files, secrets, clock, scheduler, authenticator, "/home/ana/share", "/home/ana/prefs.json",
                      "/home/ana/tmp"}};

    void SetUp() override {
        ASSERT_TRUE(files.createDirectories(inbox));
        ASSERT_TRUE(store.start());
        Onboarding onboarding;
        onboarding.owner.name = "Ana Ruiz";
        onboarding.owner.degree = "RN";
        ASSERT_TRUE(store.create(std::move(onboarding)));
    }
    void drop(const std::string& name, std::string_view bytes) {
        ASSERT_TRUE(files.replaceFileAtomically(inbox / name, asBytes(bytes)));
    }
};

TEST_F(Inbox, ACompleteFileIsStoredForReviewAndMovedOutOfTheFolder) {
    DropFolder folder(files, recognizer, inbox);
    drop("card.pdf", "TEXT:Texas Board of Nursing\nLicense Number: 776655");
    drop("scan.pdf.part", "TEXT:half a scan");
    // First seen: it may still be arriving.
    auto first = folder.scan(store, Timestamp::now(clock));
    EXPECT_EQ(first.waiting, 1u);
    EXPECT_TRUE(first.imported.empty());
    // Still growing on the second look: it waits again.
    drop("card.pdf", "TEXT:Texas Board of Nursing\nLicense Number: 776655\nExpires: 01/31/2028");
    EXPECT_EQ(folder.scan(store, Timestamp::now(clock)).waiting, 1u);

    const auto settled = folder.scan(store, Timestamp::now(clock));
    ASSERT_EQ(settled.imported.size(), 1u);
    const DocumentRecord& stored = store.doc().documents.back();
    EXPECT_EQ(stored.id, settled.imported[0]);
    EXPECT_EQ(stored.filename, "card.pdf");
    EXPECT_EQ(stored.kind, "license");
    EXPECT_TRUE(stored.needsReview);
    EXPECT_EQ(stored.personId, store.doc().people[0].id);
    EXPECT_FALSE(files.exists(inbox / "card.pdf"));
    EXPECT_TRUE(files.exists(inbox / "Imported/card.pdf"));
    EXPECT_TRUE(files.exists(inbox / "scan.pdf.part"));  // a sync client's unfinished file is never taken

    // A second file of the same name does not overwrite the first one moved aside.
    drop("card.pdf", "TEXT:Texas Board of Nursing\nLicense Number: 776655");
    folder.scan(store, Timestamp::now(clock));
    EXPECT_EQ(folder.scan(store, Timestamp::now(clock)).imported.size(), 1u);
    EXPECT_TRUE(files.exists(inbox / "Imported/card (2).pdf"));
}

TEST_F(Inbox, WhatIsNoDocumentIsSetAsideAndAScanDuringAScanDoesNothing) {
    DropFolder folder(files, recognizer, inbox);
    drop("notes.txt", "shopping list");
    folder.scan(store, Timestamp::now(clock));
    const auto documentsBefore = store.doc().documents.size();
    const auto refused = folder.scan(store, Timestamp::now(clock));
    ASSERT_EQ(refused.refused.size(), 1u);
    EXPECT_EQ(refused.refused[0].second, "This file isn't a PDF or a picture Corvale can read.");
    EXPECT_TRUE(files.exists(inbox / "Not imported/notes.txt"));
    EXPECT_EQ(store.doc().documents.size(), documentsBefore);

    drop("card.pdf", "TEXT:BLS Provider");
    folder.scan(store, Timestamp::now(clock));
    DropFolderScan during;
    recognizer.whileReading = [&] { during = folder.scan(store, Timestamp::now(clock)); };
    const auto outer = folder.scan(store, Timestamp::now(clock));
    EXPECT_TRUE(during.busy);
    EXPECT_EQ(outer.imported.size(), 1u);
    EXPECT_EQ(recognizer.reads, 2);  // the file was read once, not twice
}

TEST_F(Inbox, WithoutAnyoneToFileForTheFileStaysPut) {
    ASSERT_TRUE(store.change([](VaultDocument& vault) {
        Person second;
        second.id = "second";
        second.name = "Bo Lee";
        vault.people.push_back(second);
        vault.people[0].isSelf = false;
    }));
    DropFolder folder(files, recognizer, inbox);
    drop("card.pdf", "TEXT:BLS Provider");
    folder.scan(store, Timestamp::now(clock));
    const auto unowned = folder.scan(store, Timestamp::now(clock));
    ASSERT_EQ(unowned.refused.size(), 1u);
    EXPECT_TRUE(files.exists(inbox / "card.pdf"));
    EXPECT_EQ(folder.scan(store, Timestamp::now(clock), std::string("second")).imported.size(), 1u);
    EXPECT_EQ(store.doc().documents.back().personId, "second");
}

}  // namespace
}  // namespace corvale
