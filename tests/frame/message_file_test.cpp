// The message file seen from a caller: where it is found, what a message reads when it
// is found and when it is not, and the one report of a file that cannot be used. The
// file is opened once per process, at the first message, so each case sets its search
// path before anything is raised (every case runs in a process of its own).
#include <gtest/gtest.h>
#include <korvstat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "korvs_test.hpp"
#include "message_source.hpp"

using korvs_test::KorvsTest;
using korvs_test::MessageRecord;
using korvs_test::ScratchDir;

namespace {

const MessageRecord& source_record(long code) {
    static const std::vector<MessageRecord> records = korvs_test::read_message_source();
    for (const MessageRecord& r : records)
        if (r.code == code) return r;
    static const MessageRecord none{};
    return none;
}

class MessageFile : public KorvsTest {
protected:
    void SetUp() override {
        ::unsetenv("KORVSERRPATH");
        KorvsTest::SetUp();
    }
    // The text that a caller's hook sees first (an immediate type is seen again, empty,
    // at the pop) for a code raised in a routine of the caller's.
    static std::string raised_text(int type, int code) {
        clear();
        korvs_e1psh("message_test");
        korvs_ermes(type, code);
        korvs_e1pop("message_test");
        return errors().empty() ? std::string("(nothing raised)") : errors().front().text;
    }
    // A directory holding a copy of the built message file (or the writer's output).
    static void copy_built_file(const ScratchDir& dir) {
        std::filesystem::copy_file(KORVS_MESSAGE_FILE, dir.file("korvs_e.bin"));
    }
};

TEST_F(MessageFile, FoundBesideTheLibraryWithNoSetting) {
    EXPECT_EQ(raised_text(5, 102), source_record(102).text);
    EXPECT_EQ(raised_text(4, 499), source_record(499).text);
    korvs_test::UnitCapture err(3);
    korvs_error_options(KORVS_SET_PRINT, 3, 1, 0);
    korvs_e1psh("named_routine");
    korvs_e1mes(3, 132, "Head only.");
    korvs_e1pop("named_routine");
    EXPECT_EQ(err.text(),
              "\n*** WARNING  Error " + source_record(132).name + " from named_routine.  Head only.\n\n");
}

TEST_F(MessageFile, CodeAbove99999ReadsTheRecordOfItsRemainder) {
    EXPECT_EQ(raised_text(5, 100102), source_record(102).text);
}

TEST_F(MessageFile, CodeWithoutARecordGetsTheFallbackAndItsDigitsAsName) {
    EXPECT_EQ(raised_text(3, 77), "Error code 77.");
    korvs_test::UnitCapture err(3);
    korvs_error_options(KORVS_SET_PRINT, 3, 1, 0);
    raised_text(3, 78);
    EXPECT_EQ(err.text(), "\n*** WARNING  Error 78 from message_test.  Error code 78.\n\n");
}

TEST_F(MessageFile, MissingFileGivesTheFallbackWithOneReport) {
    ScratchDir empty;
    ::setenv("KORVSERRPATH", empty.path().c_str(), 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(raised_text(5, 102), "Error code 102.");
    EXPECT_EQ(raised_text(5, 132), "Error code 132.");
    EXPECT_EQ(raised_text(4, 499), "Error code 499.");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error in reading korvs_e.bin\nFile not found.\n");
}

TEST_F(MessageFile, ReportInBoxModeGoesToStandardErrorToo) {
    ScratchDir empty;
    ::setenv("KORVSERRPATH", empty.path().c_str(), 1);
    korvs_error_options(KORVS_SET_PRINT_TYPE, KORVS_PRINT_BOX, 0);
    testing::internal::CaptureStderr();
    EXPECT_EQ(raised_text(5, 102), "Error code 102.");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error in reading korvs_e.bin\nFile not found.\n");
}

// The first lookup may come from the printer itself, for the name in the head of a
// message raised with its own text; the report then must not wait on the printer.
TEST_F(MessageFile, FirstLookupFromTheBoxPrinter) {
    ScratchDir empty;
    ::setenv("KORVSERRPATH", empty.path().c_str(), 1);
    korvs_error_options(KORVS_SET_PRINT_TYPE, KORVS_PRINT_BOX, KORVS_SET_PRINT, 3, 1, 0);
    testing::internal::CaptureStderr();
    korvs_e1psh("boxed");
    korvs_e1mes(3, 9003, "Own text.");
    korvs_e1pop("boxed");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Error in reading korvs_e.bin\nFile not found.\nWARNING Error 9003 from boxed.  Own text.\n");
}

TEST_F(MessageFile, FileOfTheOtherByteOrderReadsTheSame) {
    ScratchDir dir;
    ASSERT_EQ(korvs_test::run_writer(dir.file("korvs_e.bin"), "--swap"), 0);
    ::setenv("KORVSERRPATH", dir.path().c_str(), 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(raised_text(5, 102), source_record(102).text);
    EXPECT_EQ(raised_text(4, 499), source_record(499).text);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(MessageFile, UnsetVariableInThePathIsDroppedWithItsSeparator) {
    ScratchDir dir;
    copy_built_file(dir);
    ::unsetenv("KORVS_NOPE");
    ::setenv("KORVS_MESSAGES_HERE", dir.path().c_str(), 1);
    ::setenv("KORVSERRPATH", "/nonexistent/korvs;$KORVS_NOPE;$KORVS_MESSAGES_HERE", 1);
    EXPECT_EQ(raised_text(5, 102), source_record(102).text);
}

TEST_F(MessageFile, PathOptionComesBeforeTheVariable) {
    ScratchDir empty, dir;
    copy_built_file(dir);
    ::setenv("KORVSERRPATH", empty.path().c_str(), 1);
    korvs_error_options(KORVS_ERROR_MSG_PATH, dir.path().c_str(), 0);
    EXPECT_EQ(raised_text(5, 102), source_record(102).text);
}

TEST_F(MessageFile, FileNameOptionDoesNotChangeTheName) {
    ScratchDir dir;
    copy_built_file(dir);
    std::filesystem::copy_file(dir.file("korvs_e.bin"), dir.file("other.bin"));
    std::filesystem::resize_file(dir.file("korvs_e.bin"), 0);
    ::setenv("KORVSERRPATH", dir.path().c_str(), 1);
    korvs_error_options(KORVS_ERROR_MSG_FILE, "other.bin", 0);
    testing::internal::CaptureStderr();
    EXPECT_EQ(raised_text(5, 102), "Error code 102.");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Error in reading " + dir.file("korvs_e.bin") + "\nFile is not in korverr.bin format.\n");
}

TEST_F(MessageFile, RepeatedCodeDoesNotTouchTheFile) {
    ScratchDir dir;
    copy_built_file(dir);
    ::setenv("KORVSERRPATH", dir.path().c_str(), 1);
    EXPECT_EQ(raised_text(5, 102), source_record(102).text);
    // The open file loses its contents; the record already read in this thread stays.
    std::filesystem::resize_file(dir.file("korvs_e.bin"), 0);
    EXPECT_EQ(raised_text(5, 102), source_record(102).text);
    EXPECT_NE(raised_text(5, 132), source_record(132).text);
}

TEST_F(MessageFile, EachThreadReadsItsOwnRecords) {
    ScratchDir dir;
    copy_built_file(dir);
    ::setenv("KORVSERRPATH", dir.path().c_str(), 1);
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, 0);
    EXPECT_EQ(raised_text(5, 102), source_record(102).text);
    std::string in_thread;
    std::thread other([&] {
        korvs_test::quiet();
        in_thread = raised_text(5, 132);
    });
    other.join();
    EXPECT_EQ(in_thread.rfind("The argument ", 0), 0u) << in_thread;
    EXPECT_EQ(raised_text(5, 102), source_record(102).text);
}

// A file that does not hold together is refused as a whole, with one report (the kinds
// of damage are in message_file_internal_test.cpp).
TEST_F(MessageFile, DamagedFileIsRefusedWithOneReport) {
    ScratchDir dir;
    std::vector<unsigned char> bytes = korvs_test::read_bytes(KORVS_MESSAGE_FILE);
    ASSERT_GT(bytes.size(), 64u);
    std::swap(bytes[14], bytes[16]);  // the first two keys, out of order
    std::swap(bytes[15], bytes[17]);
    korvs_test::write_bytes(dir.file("korvs_e.bin"), bytes);
    ::setenv("KORVSERRPATH", dir.path().c_str(), 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(raised_text(5, 102), "Error code 102.");
    EXPECT_EQ(raised_text(5, 132), "Error code 132.");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Error in reading " + dir.file("korvs_e.bin") + "\nFile is not in korverr.bin format.\n");
}

}  // namespace
