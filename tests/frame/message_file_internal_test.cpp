// The message file's pieces from inside: the index of a file in either byte order and
// at any unit, the refusal of every kind of damage, the key lookup, the path rules, and
// the per-thread texts and names of message_text and message_name.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "frame/errors.hpp"
#include "frame/message_file.hpp"
#include "message_source.hpp"

using korvs_test::MessageRecord;
using korvs_test::ScratchDir;

namespace {

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

void expect_every_record_of_the_source(const std::string& path) {
    OpenIndex file(path);
    ASSERT_EQ(file.reason(), nullptr) << path;
    std::vector<char> buffer(file.index().buffer_size);
    for (const MessageRecord& r : korvs_test::read_message_source()) {
        int i = korvs::find_record(file.index(), r.code);
        ASSERT_GE(i, 0) << r.code;
        ASSERT_TRUE(korvs::read_record(file.index(), i, buffer.data())) << r.code;
        EXPECT_EQ(std::string(buffer.data()), r.text) << r.code;
        EXPECT_EQ(std::string(buffer.data() + r.text.size() + 1), r.name) << r.code;
    }
}

TEST(MessageIndex, EveryByteOrderAndUnitReadsTheSame) {
    expect_every_record_of_the_source(KORVS_MESSAGE_FILE);
    ScratchDir dir;
    for (const char* options : {"--swap", "--shift 3", "--swap --shift 7"}) {
        SCOPED_TRACE(options);
        ASSERT_EQ(korvs_test::run_writer(dir.file("other.bin"), options), 0);
        expect_every_record_of_the_source(dir.file("other.bin"));
    }
}

TEST(MessageIndex, KeyIsTheCodeModulo100000CutTo16Bits) {
    OpenIndex file(KORVS_MESSAGE_FILE);
    ASSERT_EQ(file.reason(), nullptr);
    int i = korvs::find_record(file.index(), 132);
    ASSERT_GE(i, 0);
    EXPECT_EQ(korvs::find_record(file.index(), 100132), i);
    EXPECT_EQ(korvs::find_record(file.index(), 900132), i);
    EXPECT_EQ(korvs::find_record(file.index(), 132 + 65536), i);  // the cut to 16 bits
    EXPECT_EQ(korvs::find_record(file.index(), 0), -1);
    EXPECT_EQ(korvs::find_record(file.index(), 131), -1);
    // A negative code keeps its sign in the remainder and wraps in the cut.
    EXPECT_EQ(korvs::find_record(file.index(), -(65536 - 132)), i);
}

// Damage done to a file in this machine's byte order, by field.
struct Bytes {
    std::vector<unsigned char> b;
    unsigned word(std::size_t at) const { return b.at(at) | unsigned(b.at(at + 1)) << 8; }
    void put(std::size_t at, unsigned value) {
        b.at(at) = static_cast<unsigned char>(value & 0xFF);
        b.at(at + 1) = static_cast<unsigned char>(value >> 8);
    }
    unsigned count() const { return word(4); }
    std::size_t key_at(unsigned i) const { return 14 + 2 * i; }
    std::size_t offset_at(unsigned i) const { return 14 + 2 * count() + 2 * i; }
    std::size_t base() const {
        std::size_t unit = std::size_t{1} << (word(12) & 0xFF);
        return (4 * count() + 15 + unit - 1) / unit * unit;
    }
};

TEST(MessageIndex, EveryKindOfDamageIsRefused) {
    struct Case {
        const char* what;
        std::function<void(Bytes&)> damage;
    };
    const Case cases[] = {
        {"empty file", [](Bytes& f) { f.b.clear(); }},
        {"header cut short", [](Bytes& f) { f.b.resize(13); }},
        {"magic wrong in both orders", [](Bytes& f) { f.put(0, 0x72F9); }},
        {"count larger than the file", [](Bytes& f) { f.put(4, 0xFFFF); }},
        {"tables cut short", [](Bytes& f) { f.b.resize(f.offset_at(f.count())); }},
        {"keys repeated", [](Bytes& f) { f.put(f.key_at(1), f.word(f.key_at(0))); }},
        {"keys descending", [](Bytes& f) { f.put(f.key_at(0), f.word(f.key_at(2))); }},
        {"offsets repeated", [](Bytes& f) { f.put(f.offset_at(1), f.word(f.offset_at(0))); }},
        {"offsets descending", [](Bytes& f) { f.put(f.offset_at(2), f.word(f.offset_at(1)) - 1); }},
        {"last offset past the end", [](Bytes& f) { f.put(f.offset_at(f.count()), 0xFFFF); }},
        {"one unit over-read missing", [](Bytes& f) { f.b.resize(f.b.size() - 1); }},
        {"record longer than the buffer", [](Bytes& f) { f.put(8, 1); }},
        {"names too short for the buffer",
         [](Bytes& f) {
             f.put(8, 0);
             f.put(10, 0);
         }},
        {"shift beyond any unit", [](Bytes& f) { f.put(12, 40); }},
        {"shift 0 with a record over the tables",
         [](Bytes& f) {
             // Offsets stay, the data base moves to 4c + 15: record 0 starts in the table.
             f.put(12, 0);
         }},
        {"record without its NULs",
         [](Bytes& f) {
             std::size_t start = f.base() + (std::size_t{f.word(f.offset_at(0))} << (f.word(12) & 0xFF));
             std::size_t end = f.base() + (std::size_t{f.word(f.offset_at(1))} << (f.word(12) & 0xFF));
             for (std::size_t k = start; k < end; ++k)
                 f.b[k] = 'x';
         }},
        {"record with one NUL only",
         [](Bytes& f) {
             std::size_t start = f.base() + (std::size_t{f.word(f.offset_at(0))} << (f.word(12) & 0xFF));
             std::size_t end = f.base() + (std::size_t{f.word(f.offset_at(1))} << (f.word(12) & 0xFF));
             bool first = true;
             for (std::size_t k = start; k < end; ++k)
                 if (f.b[k] == 0) {
                     if (!first) f.b[k] = 'x';
                     first = false;
                 }
         }},
    };
    const std::vector<unsigned char> good = korvs_test::read_bytes(KORVS_MESSAGE_FILE);
    ASSERT_EQ(good.at(0) | good.at(1) << 8, 29432) << "the built file is in this machine's order";
    ScratchDir dir;
    for (const Case& c : cases) {
        Bytes f{good};
        c.damage(f);
        korvs_test::write_bytes(dir.file("damaged.bin"), f.b);
        OpenIndex file(dir.file("damaged.bin"));
        ASSERT_NE(file.reason(), nullptr) << c.what;
        EXPECT_STREQ(file.reason(), korvs::kWrongFormat) << c.what;
        EXPECT_EQ(file.index().keys, nullptr) << c.what;
    }
    // The intact bytes written the same way are accepted: the damage made the difference.
    korvs_test::write_bytes(dir.file("intact.bin"), good);
    EXPECT_EQ(OpenIndex(dir.file("intact.bin")).reason(), nullptr);
}

TEST(MessageIndex, ADirectoryOrDeviceIsNoFile) {
    ScratchDir dir;
    EXPECT_STREQ(OpenIndex(dir.path()).reason(), korvs::kFileNotFound);
    EXPECT_STREQ(OpenIndex("/dev/zero").reason(), korvs::kFileNotFound);
}

TEST(MessageIndex, RecordReadAfterTheFileShrankFails) {
    ScratchDir dir;
    std::filesystem::copy_file(KORVS_MESSAGE_FILE, dir.file("korvs_e.bin"));
    OpenIndex file(dir.file("korvs_e.bin"));
    ASSERT_EQ(file.reason(), nullptr);
    std::filesystem::resize_file(dir.file("korvs_e.bin"), 100);
    std::vector<char> buffer(file.index().buffer_size);
    EXPECT_FALSE(korvs::read_record(file.index(), static_cast<int>(file.index().count) - 1, buffer.data()));
    EXPECT_FALSE(korvs::read_record(file.index(), -1, buffer.data()));
    EXPECT_FALSE(korvs::read_record(file.index(), static_cast<int>(file.index().count), buffer.data()));
}

std::string expanded(const char* path, std::size_t size = 1024) {
    std::vector<char> out(size);
    bool complete = korvs::expand_search_path(path, out.data(), size);
    return std::string(out.data()) + (complete ? "" : " (cut)");
}

TEST(SearchPath, VariablesAreReplacedOrDropped) {
    ::unsetenv("KORVS_NOPE");
    ::setenv("KORVS_ONE", "/one", 1);
    ::setenv("KORVS_TWO", "/two;/three", 1);
    EXPECT_EQ(expanded("a;$KORVS_NOPE;b"), "a;b");
    EXPECT_EQ(expanded("$KORVS_NOPE;a"), "a");
    EXPECT_EQ(expanded("a;$KORVS_NOPE"), "a");
    EXPECT_EQ(expanded("$KORVS_NOPE"), "");
    EXPECT_EQ(expanded("$KORVS_ONE;.;$KORVS_TWO"), "/one;.;/two;/three");
    EXPECT_EQ(expanded("a$KORVS_ONE;b"), "a$KORVS_ONE;b");  // only a leading "$" names a variable
    EXPECT_EQ(expanded(".;$LIB;/lib;c:/lib"), std::getenv("LIB")
                                                  ? std::string(".;") + std::getenv("LIB") + ";/lib;c:/lib"
                                                  : std::string(".;/lib;c:/lib"));
}

TEST(SearchPath, ALongListKeepsWholeElementsOnly) {
    EXPECT_EQ(expanded("abc;defgh;ij", 9), "abc (cut)");
    EXPECT_EQ(expanded("abc;defgh;ij", 10), "abc;defgh (cut)");
    EXPECT_EQ(expanded("abc;defgh;ij", 12), "abc;defgh (cut)");
    EXPECT_EQ(expanded("abc;defgh;ij", 13), "abc;defgh;ij");
    std::string huge(5000, 'x');
    EXPECT_EQ(expanded(huge.c_str(), 64), " (cut)");
}

TEST(SearchPath, FindsTheFirstRegularFileOfTheName) {
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

// message_text and message_name with the built file (the suite's search path).
TEST(MessageText, TemplatesAndNamesPerCode) {
    const std::vector<MessageRecord> source = korvs_test::read_message_source();
    for (const MessageRecord& r : source) {
        EXPECT_EQ(std::string(korvs::message_text(static_cast<int>(r.code))), r.text);
        EXPECT_EQ(std::string(korvs::message_name(static_cast<int>(r.code))), r.name);
    }
    EXPECT_STREQ(korvs::message_text(77), "Error code 77.");
    EXPECT_STREQ(korvs::message_name(77), "77");
    EXPECT_STREQ(korvs::message_name(-5), "-5");
    auto signal =
        std::find_if(source.begin(), source.end(), [](const MessageRecord& r) { return r.code == 102; });
    ASSERT_NE(signal, source.end());
    EXPECT_EQ(std::string(korvs::message_name(100102)), signal->name);
}

TEST(MessageText, MissingFileGivesDigitsAsNames) {
    ScratchDir empty;
    ::setenv("KORVSERRPATH", empty.path().c_str(), 1);
    testing::internal::CaptureStderr();
    EXPECT_STREQ(korvs::message_text(132), "Error code 132.");
    EXPECT_STREQ(korvs::message_name(132), "132");
    EXPECT_STREQ(korvs::message_name(60001), "60001");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error in reading korvs_e.bin\nFile not found.\n");
}

}  // namespace
