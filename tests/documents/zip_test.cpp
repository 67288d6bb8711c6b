#include "documents/CRC32.h"
#include "documents/ZipReader.h"
#include "documents/ZipWriter.h"
#include "support/DiskFiles.h"
#include "support/HandLaidArchive.h"
#include "support/Outcomes.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

namespace corvale {
namespace {

using namespace test_support;

namespace fs = std::filesystem;
using Code = ArchiveError::Code;
using Entries = std::map<std::string, Bytes>;

Bytes bytesOf(std::string_view text) { return Bytes(text.begin(), text.end()); }

Bytes pattern(std::size_t size, std::uint32_t seed) {
    Bytes bytes(size);
    for (auto& b : bytes) {
        seed = seed * 1103515245u + 12345u;
        b = static_cast<std::uint8_t>(seed >> 16);
    }
    return bytes;
}

Bytes archiveOf(const Entries& entries, ZipLimits limits = {}) {
    ZipWriter writer(limits);
    for (const auto& [name, data] : entries) writer.add(name, data);
    return writer.finish();
}

bool hasPython() { return std::system("command -v python3 >/dev/null 2>&1") == 0; }

// An independent check: Python's zipfile opens the archive, finds `count`
// entries and every checksum matches. Without python3 there is no one to ask.
bool pythonAccepts(const fs::path& archive, std::size_t count) {
    if (!hasPython()) return true;
    const std::string command =
        "python3 -c 'import sys, zipfile; z = zipfile.ZipFile(sys.argv[1]); "
        "sys.exit(0 if len(z.infolist()) == int(sys.argv[2]) and z.testzip() is None else 1)' '" +
        archive.string() + "' " + std::to_string(count);
    return std::system(command.c_str()) == 0;
}

std::size_t fileCount(const fs::path& folder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), {}));
}

const Entries kSample = {
    {"blobs/0a1b.pbb", pattern(100'000, 1)},
    {"empty", {}},
    {"vault.pbv", bytesOf("{\"people\":[]}")},
    {"\xc3\xa9t\xc3\xa9/r\xc3\xa9sum\xc3\xa9.pdf", bytesOf("utf-8 name")},
};

TEST(CRC32, MatchesABitwiseReferenceWholeAndInPieces) {
    EXPECT_EQ(CRC32::checksum(asBytes("123456789")), 0xCBF43926u);
    const Bytes data = pattern(67, 7);
    for (std::size_t length = 0; length <= data.size(); ++length) {
        const ByteView view(data.data(), length);
        std::uint32_t reference = 0xFFFFFFFF;
        for (auto byte : view) {
            reference ^= byte;
            for (int bit = 0; bit < 8; ++bit) reference = (reference >> 1) ^ (0xEDB88320u & (0u - (reference & 1)));
        }
        ASSERT_EQ(CRC32::checksum(view), ~reference) << length;
        for (std::size_t split = 0; split <= length; ++split) {
            ASSERT_EQ(CRC32::update(CRC32::checksum(view.first(split)), view.subspan(split)), ~reference);
        }
    }
}

TEST(ZipWriter, WritesTheExactBytesEveryTime) {
    ZipWriter one;
    one.add("a/b", asBytes("hi"));
    // One line per record, one string per field.
    // clang-format off
    const Bytes expected = fromHex(
        "504b0304" "1400" "0008" "0000" "0000" "2100" "ac2a93d8" "02000000" "02000000" "0300" "0000" "612f62" "6869"
        "504b0102" "1400" "1400" "0008" "0000" "0000" "2100" "ac2a93d8" "02000000" "02000000" "0300" "0000" "0000"
            "0000" "0000" "00000000" "00000000" "612f62"
        "504b0506" "0000" "0000" "0100" "0100" "31000000" "23000000" "0000");
    // clang-format on
    EXPECT_EQ(one.finish(), expected);

    EXPECT_EQ(archiveOf(kSample), archiveOf(kSample));
    EXPECT_EQ(ZipWriter().finish(), fromHex("504b0506000000000000000000000000000000000000"));
}

TEST(ZipReader, ReadsOurEntriesAndOnlyTheStoredOnesOfOthers) {
    EXPECT_EQ(ZipReader::entries(archiveOf(kSample)), kSample);
    EXPECT_TRUE(ZipReader::entries(archiveOf({})).empty());

    // Made by Python's zipfile (data/make_fixtures.py), with one deflated entry.
    const Entries mixed = ZipReader::entries(readAll(fs::path(CORVALE_TEST_DATA_DIR) / "mixed.zip"));
    Bytes counting(256);
    for (std::size_t i = 0; i < counting.size(); ++i) counting[i] = static_cast<std::uint8_t>(i);
    EXPECT_EQ(mixed, (Entries{{"stored.txt", bytesOf("kept as it is\n")}, {"blobs/\xc3\xa9t\xc3\xa9.bin", counting}}));
}

TEST(ZipReader, DamagedArchivesGiveTheEntriesBeforeTheFault) {
    Entries sample = kSample;
    sample["blobs/0a1b.pbb"] = pattern(300, 1);  // every prefix is scanned to its start
    const Bytes archive = archiveOf(sample);
    for (std::size_t length = 0; length < archive.size(); ++length) {
        for (const auto& [name, data] : ZipReader::entries(ByteView(archive).first(length))) {
            ASSERT_EQ(sample.at(name), data) << length;
        }
    }
    for (std::size_t at = 0; at < archive.size(); ++at) {
        Bytes flipped = archive;
        flipped[at] ^= 0x5a;
        (void)ZipReader::entries(flipped);  // must not crash or read out of bounds
    }

    // A broken second directory record keeps only the first entry.
    Bytes broken = archive;
    const std::size_t directory =
        broken[broken.size() - 6] | broken[broken.size() - 5] << 8 | broken[broken.size() - 4] << 16;
    const std::size_t second = directory + 46 + 14;
    ASSERT_EQ(broken[second], 0x50);
    broken[second] = 0;
    EXPECT_EQ(ZipReader::entries(broken), (Entries{{"blobs/0a1b.pbb", sample.at("blobs/0a1b.pbb")}}));

    // A directory offset past the end.
    Bytes pastEnd = archive;
    pastEnd[pastEnd.size() - 5] = 0x7f;
    EXPECT_TRUE(ZipReader::entries(pastEnd).empty());
}

TEST(Zip64, LargeOffsetsSizesAndCountsUseZip64AndReadBack) {
    const ZipLimits tiny{.zip64Size = 8, .zip64Entries = 3};
    const Entries entries = {{"a", bytesOf("abc")}, {"b", pattern(20, 3)}, {"c", bytesOf("z")}};
    const Bytes archive = archiveOf(entries, tiny);
    EXPECT_EQ(ZipReader::entries(archive), entries);

    // "a" is small and first, so it stays classic; "b" is too big, "c" too far in.
    EXPECT_EQ(archive[4], 20);
    EXPECT_EQ(archive[28], 0);
    const std::size_t b = 30 + 1 + 3;
    EXPECT_EQ(archive[b + 4], 45);
    EXPECT_EQ(archive[b + 28], 20);
    const std::string text(archive.begin(), archive.end());
    EXPECT_NE(text.find("PK\x06\x06"), std::string::npos);
    EXPECT_NE(text.find("PK\x06\x07"), std::string::npos);

    // The streaming writer makes the same bytes, and its reader follows them.
    TemporaryFolder folder;
    const fs::path path = folder.path / "backup.zip";
    auto writer = ZipFileWriter::create(path, tiny);
    ASSERT_TRUE(writer);
    writeAll(folder.path / "b", entries.at("b"));
    ASSERT_TRUE(writer->add("a", entries.at("a")));
    ASSERT_TRUE(writer->addFile("b", folder.path / "b"));
    ASSERT_TRUE(writer->add("c", entries.at("c")));
    ASSERT_TRUE(writer->finish());
    EXPECT_EQ(readAll(path), archive);
    auto reader = ZipFileReader::open(path);
    ASSERT_TRUE(reader);
    ASSERT_EQ(reader->entries().size(), 3u);
    EXPECT_EQ(reader->entries()[1].size, 20u);
    EXPECT_EQ(reader->read(reader->entries()[2]).value(), entries.at("c"));
    EXPECT_TRUE(pythonAccepts(path, 3));
}

TEST(ZipFileWriter, StreamsTheSameBytesAsTheMemoryWriterAndReplacesAtomically) {
    TemporaryFolder folder;
    const fs::path target = folder.path / "backup.zip";
    writeAll(target, asBytes("old backup"));
    const Bytes large = pattern((5 << 19) + 3, 9);  // spans several read chunks
    writeAll(folder.path / "large.bin", large);

    auto writer = ZipFileWriter::create(target);
    ASSERT_TRUE(writer);
    ASSERT_TRUE(writer->add("vault.pbv", kSample.at("vault.pbv")));
    ASSERT_TRUE(writer->addFile("blobs/large.pbb", folder.path / "large.bin"));
    ASSERT_TRUE(writer->add("empty", {}));
    EXPECT_EQ(readAll(target), bytesOf("old backup"));  // nothing shows before finish
    ASSERT_TRUE(writer->finish());
    EXPECT_EQ(failedWith(writer->add("late", {})), Code::writerClosed);

    ZipWriter memory;
    memory.add("vault.pbv", kSample.at("vault.pbv"));
    memory.add("blobs/large.pbb", large);
    memory.add("empty", {});
    EXPECT_EQ(readAll(target), memory.finish());
    struct stat info {};
    ASSERT_EQ(::stat(target.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
    EXPECT_EQ(fileCount(folder.path), 2u);  // no temporary left
    EXPECT_TRUE(pythonAccepts(target, 3));
}

TEST(ZipFileWriter, AFailureLeavesTheTargetAndNoTemporary) {
    TemporaryFolder folder;
    const fs::path target = folder.path / "backup.zip";
    writeAll(target, asBytes("old backup"));
    {
        auto writer = ZipFileWriter::create(target);
        ASSERT_TRUE(writer);
        ASSERT_TRUE(writer->add("a", asBytes("a")));
        EXPECT_EQ(failedWith(writer->addFile("b", folder.path / "missing")), Code::sourceUnreadable);
        EXPECT_EQ(failedWith(writer->finish()), Code::writerClosed);
    }
    {
        auto writer = ZipFileWriter::create(target);
        ASSERT_TRUE(writer);
        EXPECT_EQ(failedWith(writer->add(std::string(70'000, 'n'), {})), Code::nameTooLong);
    }
    {
        auto abandoned = ZipFileWriter::create(target);
        ASSERT_TRUE(abandoned);
        ASSERT_TRUE(abandoned->add("a", asBytes("a")));
    }
    EXPECT_EQ(readAll(target), bytesOf("old backup"));
    EXPECT_EQ(fileCount(folder.path), 1u);
    EXPECT_EQ(failedWith(ZipFileWriter::create(folder.path / "no" / "such.zip")), Code::cannotCreate);
}

TEST(ZipFileReader, ReadsAndCopiesEntriesCheckingEachOne) {
    TemporaryFolder folder;
    const fs::path path = folder.path / "backup.zip";
    const Bytes archive = archiveOf(kSample);
    writeAll(path, archive);

    auto reader = ZipFileReader::open(path);
    ASSERT_TRUE(reader);
    Entries read;
    for (const auto& entry : reader->entries()) {
        read[entry.name] = reader->read(entry).value();
        const fs::path copy = folder.path / "copy";
        ASSERT_TRUE(reader->copyTo(entry, copy));
        EXPECT_EQ(readAll(copy), kSample.at(entry.name));
    }
    EXPECT_EQ(read, kSample);

    // One flipped data byte of the first entry: both ways of reading it refuse.
    Bytes damaged = archive;
    damaged[30 + 14 + 500] ^= 1;
    writeAll(path, damaged);
    auto damagedReader = ZipFileReader::open(path);
    ASSERT_TRUE(damagedReader);
    const ZipEntry& first = damagedReader->entries().at(0);
    ASSERT_EQ(first.name, "blobs/0a1b.pbb");
    EXPECT_EQ(failedWith(damagedReader->read(first)), Code::damaged);
    EXPECT_EQ(failedWith(damagedReader->copyTo(first, folder.path / "restored")), Code::damaged);
    EXPECT_FALSE(fs::exists(folder.path / "restored"));
    EXPECT_EQ(fileCount(folder.path), 2u);
    ZipEntry outside = first;
    outside.dataOffset = damaged.size() - 10;
    EXPECT_EQ(failedWith(damagedReader->read(outside)), Code::damaged);

    auto mixed = ZipFileReader::open(fs::path(CORVALE_TEST_DATA_DIR) / "mixed.zip");
    ASSERT_TRUE(mixed);
    ASSERT_EQ(mixed->entries().size(), 3u);
    EXPECT_EQ(mixed->entries()[1].method, 8);
    EXPECT_EQ(failedWith(mixed->read(mixed->entries()[1])), Code::unsupported);

    writeAll(path, asBytes("not an archive at all, but long enough to scan"));
    EXPECT_TRUE(ZipFileReader::open(path).value().entries().empty());
    EXPECT_EQ(failedWith(ZipFileReader::open(folder.path / "missing.zip")), Code::unreadable);
}

TEST(Zip64, PythonOpensOurArchiveOfMoreThan65535Entries) {
    if (!hasPython()) GTEST_SKIP() << "python3 is not installed";
    TemporaryFolder folder;
    const fs::path path = folder.path / "many.zip";
    constexpr std::size_t kCount = 65'536;
    auto writer = ZipFileWriter::create(path);
    ASSERT_TRUE(writer);
    for (std::size_t i = 0; i < kCount; ++i) {
        const std::string name = "e/" + std::to_string(i);
        ASSERT_TRUE(writer->add(name, asBytes(name)));
    }
    ASSERT_TRUE(writer->finish());
    auto reader = ZipFileReader::open(path);
    ASSERT_TRUE(reader);
    ASSERT_EQ(reader->entries().size(), kCount);
    EXPECT_EQ(reader->read(reader->entries().back()).value(), bytesOf("e/65535"));
    EXPECT_TRUE(pythonAccepts(path, kCount));
}

TEST(ZipFileReader, ACheckedOpenRefusesEntriesThatShareBytesOrDisagreeOnTheirName) {
    TemporaryFolder folder;
    const Bytes key = bytesOf("key file");
    const Bytes document = bytesOf("sealed document bytes");
    const auto opens = [&](const std::string& label, const Bytes& archive) {
        const fs::path path = folder.path / (label + ".zip");
        writeAll(path, archive);
        // The lenient reader still lists what it can; only the checked one refuses.
        EXPECT_TRUE(ZipFileReader::open(path)) << label;
        auto checked = ZipFileReader::openChecked(path);
        if (!checked) {
            EXPECT_EQ(checked.error().code, Code::inconsistent) << label;
        }
        return checked.ok();
    };

    {
        HandLaidArchive good;
        const auto keyAt = good.local("vault.key", key);
        const auto documentAt = good.local("vault.pbv", document);
        good.central("vault.key", key, keyAt);
        good.central("vault.pbv", document, documentAt);
        EXPECT_TRUE(opens("good", good.finish()));
        // What our own writer makes passes, empty entries included.
        EXPECT_TRUE(opens("ours", archiveOf({{"a", {}}, {"b", bytesOf("x")}, {"blobs/c", pattern(5000, 1)}})));
    }
    {
        // Two directory records for one local entry: one set of bytes read under two names.
        HandLaidArchive twice;
        const auto at = twice.local("vault.pbv", document);
        twice.central("vault.pbv", document, at);
        twice.central("vault.pbv", document, at);
        EXPECT_FALSE(opens("same-bytes", twice.finish()));
    }
    {
        // The second entry's header starts inside the first one's data.
        HandLaidArchive nested;
        Bytes outer = bytesOf("padding-");
        HandLaidArchive inner;
        inner.local("vault.key", key);
        outer.insert(outer.end(), inner.bytes.begin(), inner.bytes.end());
        const auto outerAt = nested.local("vault.pbv", outer);
        const std::uint64_t innerAt = outerAt + 30 + std::string_view("vault.pbv").size() + 8;
        nested.central("vault.pbv", outer, outerAt);
        nested.central("vault.key", key, innerAt);
        const Bytes archive = nested.finish();
        // Each entry reads back whole on its own, so only the overlap gives it away.
        const auto entries = ZipReader::entries(archive);
        ASSERT_EQ(entries.size(), 2u);
        EXPECT_EQ(entries.at("vault.key"), key);
        EXPECT_FALSE(opens("overlap", archive));
    }
    {
        // An entry whose recorded size runs on into the directory.
        HandLaidArchive intoDirectory;
        const auto at = intoDirectory.local("vault.pbv", document);
        Bytes longer = document;
        longer.resize(document.size() + 10);
        intoDirectory.central("vault.pbv", longer, at);
        EXPECT_FALSE(opens("into-directory", intoDirectory.finish()));
    }
    {
        // The local header says one name, the directory another.
        HandLaidArchive renamed;
        const auto keyAt = renamed.local("vault.key", key);
        const auto blobAt = renamed.local("blobs/evil.pbb", document);
        renamed.central("vault.key", key, keyAt);
        renamed.central("blobs/good.pbb", document, blobAt);
        EXPECT_FALSE(opens("renamed", renamed.finish()));
        HandLaidArchive shorter;
        const auto at = shorter.local("vault.pb", document);
        shorter.central("vault.pbv", document, at);
        EXPECT_FALSE(opens("shorter-name", shorter.finish()));
    }
}

TEST(ArchiveError, EveryMessageGivesTheWayOut) {
    for (int code = 0; code <= static_cast<int>(Code::inconsistent); ++code) {
        const auto message = ArchiveError::make(static_cast<Code>(code), EIO, "/tmp/x").message();
        EXPECT_NE(message.find(", so "), std::string::npos) << message;
    }
    EXPECT_EQ(ArchiveError::make(Code::writeFailed, ENOSPC).code, Code::noSpace);
}

}  // namespace
}  // namespace corvale
