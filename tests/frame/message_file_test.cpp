// The message file seen from a caller: where it is found, what a message reads when it is
// found and when not, and the one report of a file that cannot be used. The file is opened
// once per process, at the first lookup, so each setting runs in a process of its own.
#include <gtest/gtest.h>
#include <korvstat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <thread>
#include <utility>

#include "korvs_test.hpp"
#include "message_source.hpp"

namespace {

using korvs_test::ScratchDir;
using korvs_test::source_record;

// The text that the hook sees first for a code raised in a routine of the caller's.
std::string raised_text(int type, int code) {
    korvs_test::raised.clear();
    korvs_e1psh("message_test");
    korvs_ermes(type, code);
    korvs_e1pop("message_test");
    return korvs_test::raised.empty() ? "(nothing raised)" : korvs_test::raised.front().text;
}

void copy_built_file(const ScratchDir& dir) {
    std::filesystem::copy_file(KORVS_MESSAGE_FILE, dir.file("korvs_e.bin"));
}
void use_path(const ScratchDir& dir) { ::setenv("KORVSERRPATH", dir.path().c_str(), 1); }

enum Report { kNone, kNotFound, kWrongFormat };

struct Setting {
    const char* name;
    void (*prepare)(const ScratchDir& dir);
    Report report;
    bool box = false;
};

void PrintTo(const Setting& s, std::ostream* os) { *os << s.name; }

class MessageFile : public korvs_test::KorvsTest, public ::testing::WithParamInterface<Setting> {
protected:
    void SetUp() override {
        ::unsetenv("KORVSERRPATH");
        KorvsTest::SetUp();
    }
};

// The first lookup comes from the printer, for the name in the head of a message raised
// with its own text; the report then must not wait on the printer.
TEST_P(MessageFile, FirstLookupAndEveryLaterOne) {
    const Setting& s = GetParam();
    ScratchDir dir;
    s.prepare(dir);
    if (s.box) korvs_error_options(KORVS_SET_PRINT_TYPE, KORVS_PRINT_BOX, 0);
    korvs_error_options(KORVS_SET_PRINT, 3, 1, 0);
    testing::internal::CaptureStderr();
    korvs_test::raise_in("named", 3, 132, "Own text.");
    korvs_error_options(KORVS_SET_PRINT, 3, 0, 0);
    const bool found = s.report == kNone;
    for (int code : {102, 499})
        EXPECT_EQ(raised_text(5, code),
                  found ? source_record(code).text : "Error code " + std::to_string(code) + ".");
    const std::string name = found ? source_record(132).name : "132";
    const std::string reports[] = {"", "Error in reading korvs_e.bin\nFile not found.\n",
                                   "Error in reading " + dir.file("korvs_e.bin") +
                                       "\nFile is not in korverr.bin format.\n"};
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              reports[s.report] + (s.box ? "WARNING Error " + name + " from named.  Own text.\n"
                                         : "\n*** WARNING  Error " + name + " from named.  Own text.\n\n"));
    if (!found) return;
    EXPECT_EQ(raised_text(5, 100102), source_record(102).text);  // the record of the remainder
    EXPECT_EQ(raised_text(3, 77), "Error code 77.");             // a code without a record
}

INSTANTIATE_TEST_SUITE_P(
    Settings, MessageFile,
    ::testing::Values(Setting{"BesideTheLibrary", [](const ScratchDir&) {}, kNone},
                      Setting{"Missing", use_path, kNotFound},
                      Setting{"MissingInBoxMode", use_path, kNotFound, true},
                      // The path option comes before the variable; the file name option does not
                      // change the name searched for; a damaged file is refused whole.
                      Setting{"FileNameOptionDoesNotChangeTheName",
                              [](const ScratchDir& dir) {
                                  copy_built_file(dir);
                                  std::filesystem::copy_file(dir.file("korvs_e.bin"), dir.file("other.bin"));
                                  std::filesystem::resize_file(dir.file("korvs_e.bin"), 0);
                                  ::setenv("KORVSERRPATH", "/nonexistent", 1);
                                  korvs_error_options(KORVS_ERROR_MSG_PATH, dir.path().c_str(),
                                                      KORVS_ERROR_MSG_FILE, "other.bin", 0);
                              },
                              kWrongFormat}),
    [](const ::testing::TestParamInfo<Setting>& info) { return std::string(info.param.name); });

// A record once read stays with its thread; another thread reads its own.
class MessageRecords : public korvs_test::KorvsTest {};

// An unset variable is dropped from the path.
TEST_F(MessageRecords, EachThreadKeepsWhatItReadAndTheFileIsNotTouchedAgain) {
    ScratchDir dir;
    copy_built_file(dir);
    ::unsetenv("KORVS_NOPE");
    ::setenv("KORVSERRPATH", ("/nonexistent/korvs;$KORVS_NOPE;" + dir.path()).c_str(), 1);
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, 0);
    EXPECT_EQ(raised_text(5, 102), source_record(102).text);
    std::string in_thread;
    std::thread([&] {
        korvs_test::quiet();
        in_thread = raised_text(4, 499);
    }).join();
    EXPECT_EQ(in_thread, source_record(499).text);
    std::filesystem::resize_file(dir.file("korvs_e.bin"), 0);
    EXPECT_EQ(raised_text(5, 102), source_record(102).text);
    EXPECT_NE(raised_text(4, 499), source_record(499).text);
}

}  // namespace
