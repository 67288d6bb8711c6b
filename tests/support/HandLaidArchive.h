#pragma once
// Archives laid out by hand, byte by byte, so a test can say where each
// header, name and piece of data sits and what each directory record claims.

#include "documents/CRC32.h"

#include <initializer_list>
#include <string_view>
#include <utility>

namespace corvale::test_support {

struct HandLaidArchive {
    Bytes bytes;
    Bytes directory;
    std::uint16_t count = 0;

    static void put(Bytes& out, std::uint64_t value, int width) {
        for (int i = 0; i < width; ++i) out.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }
    static void put(Bytes& out, std::string_view text) { out.insert(out.end(), text.begin(), text.end()); }
    // Little-endian fields of a header, each with its width in bytes.
    static void fields(Bytes& out, std::initializer_list<std::pair<std::uint64_t, int>> values) {
        for (const auto& [value, width] : values) put(out, value, width);
    }

    // A local header named `name` followed by `data`; gives its offset.
    std::uint64_t local(std::string_view name, ByteView data) {
        const std::uint64_t at = bytes.size();
        fields(bytes, {{0x04034b50, 4}, {20, 2}, {0x0800, 2}, {0, 2}, {0, 2}, {0x21, 2}, {CRC32::checksum(data), 4},
                       {data.size(), 4}, {data.size(), 4}, {name.size(), 2}, {0, 2}});
        put(bytes, name);
        bytes.insert(bytes.end(), data.begin(), data.end());
        return at;
    }
    // A directory record claiming `name`, `data`'s size and checksum, at `offset`.
    void central(std::string_view name, ByteView data, std::uint64_t offset) {
        fields(directory, {{0x02014b50, 4}, {20, 2}, {20, 2}, {0x0800, 2}, {0, 2}, {0, 2}, {0x21, 2},
                           {CRC32::checksum(data), 4}, {data.size(), 4}, {data.size(), 4}, {name.size(), 2}, {0, 2},
                           {0, 2}, {0, 2}, {0, 2}, {0, 4}, {offset, 4}});
        put(directory, name);
        ++count;
    }
    Bytes finish() const {
        Bytes out = bytes;
        const std::uint64_t at = out.size();
        out.insert(out.end(), directory.begin(), directory.end());
        fields(out, {{0x06054b50, 4}, {0, 2}, {0, 2}, {count, 2}, {count, 2}, {directory.size(), 4}, {at, 4}, {0, 2}});
        return out;
    }
};

}  // namespace corvale::test_support
