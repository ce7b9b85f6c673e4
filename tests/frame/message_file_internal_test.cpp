// The message source, the writer and the reader: every code raised in src/ has a record;
// the writer refuses what it cannot represent; the reader gives every record back in either
// byte order and at any unit, refuses every kind of damage and follows the search path.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "frame/errors.hpp"
#include "frame/message_file.hpp"
#include "message_source.hpp"

namespace {

using korvs_test::MessageRecord;
using korvs_test::ScratchDir;

TEST(MessageSource, EveryCodeRaisedInTheSourcesHasARecord) {
    // A literal code in korvs_ermes or korvs_e1mes, or one chosen in a switch ("code = 502;").
    const std::regex patterns[] = {std::regex(R"(korvs_ermes\s*\(\s*[^,;()]+,\s*(\d+)\s*\))"),
                                   std::regex(R"(korvs_e1mes\s*\(\s*[^,;()]+,\s*(\d+)\s*,)"),
                                   std::regex(R"(\bcode\s*=\s*(\d{3,5})\s*;)")};
    std::set<long> recorded, found;
    for (const MessageRecord& r : korvs_test::read_message_source())
        recorded.insert(r.code % 100000);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(KORVS_SOURCE_DIR "/src")) {
        std::ifstream in(entry.path());
        std::string line;
        for (int number = 1; std::getline(in, line); ++number)
            for (const std::regex& pattern : patterns)
                for (std::sregex_iterator m(line.begin(), line.end(), pattern), end; m != end; ++m) {
                    long code = std::stol((*m)[1]);
                    found.insert(code);
                    EXPECT_TRUE(code == 0 || recorded.count(code % 100000))
                        << entry.path() << ":" << number << " raises " << code << " without a record";
                }
    }
    for (long known : {102L, 132L, 200L, 511L, 60001L})
        EXPECT_TRUE(found.count(known)) << "missed " << known;
}

// An index over a file, closed at the end.
class OpenIndex {
public:
    explicit OpenIndex(const std::string& path) : fd_(::open(path.c_str(), O_RDONLY)) {
        reason_ = fd_ < 0 ? "cannot open" : korvs::load_index(fd_, &index_);
    }
    ~OpenIndex() {
        korvs::release_index(&index_);
        if (fd_ >= 0) ::close(fd_);
    }
    const char* reason() const { return reason_; }
    const korvs::MessageIndex& index() const { return index_; }

private:
    int fd_;
    korvs::MessageIndex index_;
    const char* reason_ = nullptr;
};

// Every record of the source read back from a file of either byte order and any unit, and
// through message_text and message_name; a code is keyed modulo 100000, cut to 16 bits.
TEST(MessageFile, WriterAndReaderAgreeWithTheSourceInEitherByteOrderAndAnyUnit) {
    ScratchDir dir;
    const std::vector<unsigned char> native = korvs_test::read_bytes(KORVS_MESSAGE_FILE);
    const std::vector<MessageRecord> source = korvs_test::read_message_source();
    ASSERT_EQ(native.at(0) | native.at(1) << 8, 29432) << "the built file is in this machine's order";
    for (auto [options, shift] :
         {std::pair{"", 0u}, {"--swap", 0u}, {"--shift 5", 5u}, {"--swap --shift 7", 7u}}) {
        SCOPED_TRACE(options);
        std::string path = options[0] ? dir.file("other.bin") : KORVS_MESSAGE_FILE;
        if (options[0]) {
            ASSERT_EQ(korvs_test::run_writer(path, options), 0);
        }
        OpenIndex file(path);
        ASSERT_EQ(file.reason(), nullptr);
        EXPECT_EQ(file.index().count, source.size());
        EXPECT_TRUE(shift ? file.index().shift == shift : file.index().shift >= 1) << file.index().shift;
        std::vector<char> buffer(file.index().buffer_size);
        for (const MessageRecord& r : source) {
            int i = korvs::find_record(file.index(), r.code);
            ASSERT_TRUE(i >= 0 && korvs::read_record(file.index(), i, buffer.data())) << r.code;
            EXPECT_EQ(std::string(buffer.data()), r.text) << r.code;
            EXPECT_EQ(std::string(buffer.data() + r.text.size() + 1), r.name) << r.code;
        }
        for (long code : {100132L, 900132L, 132L + 65536, -(65536L - 132)})
            EXPECT_EQ(korvs::find_record(file.index(), code), korvs::find_record(file.index(), 132)) << code;
        EXPECT_EQ(korvs::find_record(file.index(), 0) + korvs::find_record(file.index(), 131), -2);
        if (std::string(options) != "--swap") continue;
        // The header is in the other order; the records themselves are never swapped.
        const std::vector<unsigned char> bytes = korvs_test::read_bytes(path);
        const std::size_t base = file.index().data_base;
        EXPECT_TRUE(bytes[0] == native[1] && bytes[1] == native[0]);
        EXPECT_TRUE(bytes.size() == native.size() &&
                    std::equal(native.begin() + base, native.end(), bytes.begin() + base));
    }
    for (const MessageRecord& r : source) {
        EXPECT_EQ(std::string(korvs::message_text(int(r.code))), r.text);
        EXPECT_EQ(std::string(korvs::message_name(int(r.code))), r.name);
    }
    EXPECT_STREQ(korvs::message_text(77), "Error code 77.");
    EXPECT_STREQ(korvs::message_name(-5), "-5");
}

// Damage done to a file in this machine's byte order, by field: the header of 14 bytes
// (magic, count at 4, buffer sizes at 8 and 10, shift at 12), then the keys and offsets.
struct Bytes {
    std::vector<unsigned char> b;
    unsigned word(std::size_t at) const { return b.at(at) | unsigned(b.at(at + 1)) << 8; }
    void put(std::size_t at, unsigned value) { b.at(at) = value & 0xFF, b.at(at + 1) = (value >> 8) & 0xFF; }
    std::size_t key(unsigned i) const { return 14 + 2 * i; }
    std::size_t offset(unsigned i) const { return 14 + 2 * word(4) + 2 * i; }
    std::size_t record(unsigned i) const {
        std::size_t unit = std::size_t{1} << (word(12) & 0xFF);
        return (4 * word(4) + 15 + unit - 1) / unit * unit +
               (std::size_t{word(offset(i))} << (word(12) & 0xFF));
    }
    void replace_nuls(int keep) {
        for (std::size_t k = record(0); k < record(1); ++k)
            if (b[k] == 0 && keep-- <= 0) b[k] = 'x';
    }
};

TEST(MessageFile, EveryKindOfDamageIsRefused) {
    const std::pair<const char*, std::function<void(Bytes&)>> cases[] = {
        {"empty file", [](Bytes& f) { f.b.clear(); }},
        {"header cut short", [](Bytes& f) { f.b.resize(13); }},
        {"magic wrong in both orders", [](Bytes& f) { f.put(0, 0x72F9); }},
        {"count larger than the file", [](Bytes& f) { f.put(4, 0xFFFF); }},
        {"tables cut short", [](Bytes& f) { f.b.resize(f.offset(f.word(4))); }},
        {"keys repeated", [](Bytes& f) { f.put(f.key(1), f.word(f.key(0))); }},
        {"keys descending", [](Bytes& f) { f.put(f.key(0), f.word(f.key(2))); }},
        {"offsets repeated", [](Bytes& f) { f.put(f.offset(1), f.word(f.offset(0))); }},
        {"offsets descending", [](Bytes& f) { f.put(f.offset(2), f.word(f.offset(1)) - 1); }},
        {"last offset past the end", [](Bytes& f) { f.put(f.offset(f.word(4)), 0xFFFF); }},
        {"one unit over-read missing", [](Bytes& f) { f.b.resize(f.b.size() - 1); }},
        {"record longer than the buffer", [](Bytes& f) { f.put(8, 1); }},
        {"names too short for the buffer", [](Bytes& f) { f.put(8, 0), f.put(10, 0); }},
        {"shift beyond any unit", [](Bytes& f) { f.put(12, 40); }},
        {"shift 0 moves the data base: record 0 starts in the table", [](Bytes& f) { f.put(12, 0); }},
        {"record without its NULs", [](Bytes& f) { f.replace_nuls(0); }},
        {"record with one NUL only", [](Bytes& f) { f.replace_nuls(1); }},
    };
    const std::vector<unsigned char> good = korvs_test::read_bytes(KORVS_MESSAGE_FILE);
    ASSERT_EQ(good.at(0) | good.at(1) << 8, 29432) << "the built file is in this machine's order";
    ScratchDir dir;
    for (const auto& [what, damage] : cases) {
        Bytes f{good};
        damage(f);
        korvs_test::write_bytes(dir.file("damaged.bin"), f.b);
        OpenIndex file(dir.file("damaged.bin"));
        EXPECT_STREQ(file.reason(), korvs::kWrongFormat) << what;
        EXPECT_EQ(file.index().keys, nullptr) << what;
    }
    korvs_test::write_bytes(dir.file("intact.bin"), good);  // the damage made the difference
    EXPECT_EQ(OpenIndex(dir.file("intact.bin")).reason(), nullptr);
    EXPECT_STREQ(OpenIndex(dir.path()).reason(), korvs::kFileNotFound);
    EXPECT_STREQ(OpenIndex("/dev/zero").reason(), korvs::kFileNotFound);
    // A record read after the file shrank, or out of range, fails.
    OpenIndex file(dir.file("intact.bin"));
    std::filesystem::resize_file(dir.file("intact.bin"), 100);
    std::vector<char> buffer(file.index().buffer_size);
    for (int i : {int(file.index().count) - 1, -1, int(file.index().count)})
        EXPECT_FALSE(korvs::read_record(file.index(), i, buffer.data())) << i;
}

TEST(MessageWriter, RefusesASourceItCannotRepresent) {
    const char* cases[][2] = {
        {"repeated code", "5 3 ONE One.\n5 3 TWO Two.\n"},
        {"codes with one key", "7 3 ONE One.\n65543 3 TWO Two.\n"},
        {"code out of range", "100000 3 BIG Big.\n"},
        {"type out of range", "5 9 ODD Odd.\n"},
        {"no template", "5 3 EMPTY\n"},
        {"unknown placeholder", "5 3 ODD The value %(q1) is odd.\n"},
    };
    ScratchDir dir;
    for (const auto& c : cases) {
        std::ofstream(dir.file("bad.msg")) << "# " << c[0] << "\n" << c[1];
        EXPECT_EQ(korvs_test::run_writer(dir.file("bad.bin"), "", dir.file("bad.msg")), 1) << c[0];
        EXPECT_FALSE(std::filesystem::exists(dir.file("bad.bin"))) << c[0];
    }
}

std::string expanded(const char* path, std::size_t size = 1024) {
    std::vector<char> out(size);
    bool complete = korvs::expand_search_path(path, out.data(), size);
    return std::string(out.data()) + (complete ? "" : " (cut)");
}

// An element "$NAME" is replaced by the variable's value, or dropped with its separator
// when the variable is unset; only whole elements are cut to fit.
TEST(SearchPath, VariablesWholeElementsAndTheFirstRegularFile) {
    ::unsetenv("KORVS_NOPE");
    ::setenv("KORVS_ONE", "/one", 1);
    ::setenv("KORVS_TWO", "/two;/three", 1);
    const char* cases[][2] = {
        {"a;$KORVS_NOPE;b", "a;b"},
        {"$KORVS_NOPE;a", "a"},
        {"a;$KORVS_NOPE", "a"},
        {"$KORVS_NOPE", ""},
        {"$KORVS_ONE;.;$KORVS_TWO", "/one;.;/two;/three"},
        {"a$KORVS_ONE;b", "a$KORVS_ONE;b"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(expanded(c[0]), c[1]) << c[0];
    EXPECT_EQ(expanded("abc;defgh;ij", 9), "abc (cut)");
    EXPECT_EQ(expanded("abc;defgh;ij", 12), "abc;defgh (cut)");
    EXPECT_EQ(expanded("abc;defgh;ij", 13), "abc;defgh;ij");
    EXPECT_EQ(expanded(std::string(5000, 'x').c_str(), 64), " (cut)");
    ScratchDir first, second;
    std::filesystem::create_directory(first.file("korvs_e.bin"));  // a directory: passed over
    korvs_test::write_bytes(second.file("korvs_e.bin"), {1, 2, 3});
    std::string list = "/nonexistent;;" + first.path() + ";" + second.path() + "/;" + first.path();
    char out[1024];
    ASSERT_TRUE(korvs::find_on_path(list.c_str(), "korvs_e.bin", out, sizeof out));
    EXPECT_EQ(std::string(out), second.path() + "/korvs_e.bin");
    EXPECT_FALSE(korvs::find_on_path(first.path().c_str(), "korvs_e.bin", out, sizeof out));
    EXPECT_STREQ(out, "");
    // A candidate longer than the buffer is passed over, not cut.
    EXPECT_FALSE(korvs::find_on_path(second.path().c_str(), "korvs_e.bin", out, 12));
}

}  // namespace
