// The message source and the file made from it: every code that src/ raises has a
// record, the writer refuses a source it cannot represent, and the built file has the
// layout the reader is made for, read here byte by byte on its own.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "message_source.hpp"

using korvs_test::MessageRecord;
using korvs_test::ScratchDir;

namespace {

struct Raise {
    long code;
    std::string where;
};

// Codes raised in src/: korvs_ermes(type, code) and korvs_e1mes(type, code, text) with a
// literal code, and a code chosen in a switch ("code = 502;") and raised through a
// variable, as the signal handler does.
std::vector<Raise> raises_in_sources() {
    static const std::regex patterns[] = {
        std::regex(R"(korvs_ermes\s*\(\s*[^,;()]+,\s*(\d+)\s*\))"),
        std::regex(R"(korvs_e1mes\s*\(\s*[^,;()]+,\s*(\d+)\s*,)"),
        std::regex(R"(\bcode\s*=\s*(\d{3,5})\s*;)"),
    };
    std::vector<Raise> raises;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(KORVS_SOURCE_DIR "/src")) {
        std::string extension = entry.path().extension().string();
        if (extension != ".cpp" && extension != ".hpp") continue;
        std::ifstream in(entry.path());
        std::string line;
        for (int number = 1; std::getline(in, line); ++number) {
            for (const std::regex& pattern : patterns) {
                for (std::sregex_iterator m(line.begin(), line.end(), pattern), end; m != end; ++m) {
                    long code = std::stol((*m)[1]);
                    if (code > 0)
                        raises.push_back({code, entry.path().lexically_relative(KORVS_SOURCE_DIR).string() +
                                                    ":" + std::to_string(number)});
                }
            }
        }
    }
    return raises;
}

TEST(MessageSource, EveryCodeRaisedInTheSourcesHasARecord) {
    std::set<long> recorded;
    for (const MessageRecord& r : korvs_test::read_message_source())
        recorded.insert(r.code % 100000);
    std::vector<Raise> raises = raises_in_sources();
    std::set<long> found;
    for (const Raise& r : raises) {
        found.insert(r.code);
        EXPECT_TRUE(recorded.count(r.code % 100000))
            << r.where << " raises " << r.code << ", which has no record in messages/*.msg";
    }
    // The scan itself must see the raises it is meant to see.
    for (long known : {102L, 132L, 200L, 511L, 60001L})
        EXPECT_TRUE(found.count(known)) << "the scan missed " << known;
}

// The built file read on its own: header, tables, data base and records.
struct ParsedFile {
    bool little = true;
    unsigned count = 0, longest_text = 0, longest_name = 0, shift = 0;
    std::vector<unsigned> keys, offsets;
    std::size_t base = 0, size = 0;
    std::vector<std::pair<std::string, std::string>> records;  // template, name
};

ParsedFile parse(const std::vector<unsigned char>& b) {
    ParsedFile f;
    f.size = b.size();
    f.little = b.at(0) == 0xF8 && b.at(1) == 0x72;
    auto word = [&](std::size_t at) {
        return f.little ? unsigned(b.at(at)) | unsigned(b.at(at + 1)) << 8
                        : unsigned(b.at(at)) << 8 | b.at(at + 1);
    };
    EXPECT_EQ(word(0), 29432u);
    f.count = word(4);
    f.longest_text = word(8);
    f.longest_name = word(10);
    f.shift = word(12) & 0xFF;
    for (unsigned i = 0; i < f.count; ++i)
        f.keys.push_back(word(14 + 2 * i));
    for (unsigned i = 0; i <= f.count; ++i)
        f.offsets.push_back(word(14 + 2 * f.count + 2 * i));
    std::size_t unit = std::size_t{1} << f.shift;
    f.base = (4 * f.count + 15) / unit * unit + unit;
    for (unsigned i = 0; i < f.count; ++i) {
        const char* start = reinterpret_cast<const char*>(b.data()) + f.base + f.offsets[i] * unit;
        std::string text(start);
        std::string name(start + text.size() + 1);
        f.records.emplace_back(text, name);
    }
    return f;
}

void expect_layout_and_contents(const ParsedFile& f) {
    std::vector<MessageRecord> source = korvs_test::read_message_source();
    ASSERT_EQ(f.count, source.size());
    EXPECT_GE(f.shift, 1u);
    std::size_t unit = std::size_t{1} << f.shift;
    EXPECT_EQ(f.base % unit, 0u);
    EXPECT_GT(f.base, 4 * f.count + 15);
    // One unit beyond the last record, for the reader's read of one unit more.
    EXPECT_GE(f.size, f.base + (f.offsets.back() + 1) * unit);
    std::map<unsigned, const MessageRecord*> by_key;
    for (const MessageRecord& r : source)
        by_key[static_cast<unsigned>(r.code % 100000)] = &r;
    unsigned i = 0;
    for (const auto& [key, record] : by_key) {
        ASSERT_EQ(f.keys.at(i), key);
        EXPECT_EQ(f.records[i].first, record->text) << "code " << record->code;
        EXPECT_EQ(f.records[i].second, record->name) << "code " << record->code;
        EXPECT_LE((f.offsets[i + 1] - f.offsets[i] + 1) * unit, f.longest_text + f.longest_name + 2u)
            << "the read of record " << i << " overruns the reader's buffer";
        EXPECT_GE(f.longest_text, record->text.size());
        EXPECT_GE(f.longest_name, record->name.size());
        ++i;
    }
}

TEST(MessageFileLayout, BuiltFileHoldsTheSourceInThisMachinesOrder) {
    ParsedFile f = parse(korvs_test::read_bytes(KORVS_MESSAGE_FILE));
    std::uint16_t probe = 1;
    EXPECT_EQ(f.little, *reinterpret_cast<unsigned char*>(&probe) == 1);
    expect_layout_and_contents(f);
}

TEST(MessageFileLayout, SwappedFileHoldsTheSameInTheOtherOrder) {
    ScratchDir dir;
    ASSERT_EQ(korvs_test::run_writer(dir.file("swapped.bin"), "--swap"), 0);
    std::vector<unsigned char> native = korvs_test::read_bytes(KORVS_MESSAGE_FILE);
    std::vector<unsigned char> swapped = korvs_test::read_bytes(dir.file("swapped.bin"));
    ParsedFile f = parse(swapped);
    EXPECT_NE(f.little, parse(native).little);
    expect_layout_and_contents(f);
    // The records themselves are never swapped: the data areas agree byte for byte.
    ASSERT_EQ(native.size(), swapped.size());
    EXPECT_TRUE(std::equal(native.begin() + f.base, native.end(), swapped.begin() + f.base));
}

TEST(MessageFileLayout, LargerUnitsKeepTheLayout) {
    ScratchDir dir;
    ASSERT_EQ(korvs_test::run_writer(dir.file("wide.bin"), "--shift 5"), 0);
    ParsedFile f = parse(korvs_test::read_bytes(dir.file("wide.bin")));
    EXPECT_EQ(f.shift, 5u);
    expect_layout_and_contents(f);
}

// The writer refuses what it cannot represent, naming the line.
TEST(MessageWriter, RefusesABadSource) {
    struct Case {
        const char* what;
        const char* lines;
    };
    const Case cases[] = {
        {"repeated code", "5 3 ONE One.\n5 3 TWO Two.\n"},
        {"codes with one key", "7 3 ONE One.\n65543 3 TWO Two.\n"},
        {"code out of range", "100000 3 BIG Big.\n"},
        {"type out of range", "5 9 ODD Odd.\n"},
        {"lower-case name", "5 3 lower Text.\n"},
        {"name too long", "5 3 ABCDEFGHIJKLMNOPQRSTUVWXYZ_ABCDEF Text.\n"},
        {"no template", "5 3 EMPTY\n"},
        {"unknown placeholder", "5 3 ODD The value %(q1) is odd.\n"},
        {"unclosed placeholder", "5 3 ODD The value %(i1 is odd.\n"},
    };
    ScratchDir dir;
    for (const Case& c : cases) {
        std::ofstream(dir.file("bad.msg")) << "# " << c.what << "\n" << c.lines;
        EXPECT_EQ(korvs_test::run_writer(dir.file("bad.bin"), "", dir.file("bad.msg")), 1) << c.what;
        EXPECT_FALSE(std::filesystem::exists(dir.file("bad.bin"))) << c.what;
    }
    std::ofstream(dir.file("good.msg")) << "# fine\n\n5 3 FIVE The value %(i1) is %(r1%8.3f).%/Next line.\n";
    EXPECT_EQ(korvs_test::run_writer(dir.file("good.bin"), "", dir.file("good.msg")), 0);
    ParsedFile f = parse(korvs_test::read_bytes(dir.file("good.bin")));
    ASSERT_EQ(f.count, 1u);
    EXPECT_EQ(f.records[0].first, "The value %(i1) is %(r1%8.3f).%/Next line.");
    EXPECT_EQ(f.records[0].second, "FIVE");
}

}  // namespace
