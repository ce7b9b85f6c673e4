// The error stack seen from a caller: raising, levels, the most-severe-error rule,
// the hook, template expansion, the printers' exact layout and the default stops.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <string>

#include "korvs_test.hpp"

using korvs_test::KorvsTest;
using korvs_test::UnitCapture;

namespace {

// A caller's own routine raising one message, the way library routines do.
void routine_raising(const char* name, int type, int code, const char* text) {
    korvs_e1psh(name);
    korvs_e1mes(type, code, text);
    korvs_e1pop(name);
}

class ErrorStack : public KorvsTest {};

TEST_F(ErrorStack, LatestMessageInAFrameWins) {
    korvs_e1psh("two_raises");
    korvs_e1mes(3, 11, "first");
    korvs_e1mes(4, 12, "second");
    korvs_e1mes(3, 13, "third");
    korvs_e1pop("two_raises");
    EXPECT_EQ(korvs_error_code(), 13);
    EXPECT_EQ(korvs_n1rty(1), 3);
    ASSERT_EQ(errors().size(), 1u);
    EXPECT_EQ(errors()[0].text, "third");
}

TEST_F(ErrorStack, MostSevereErrorOfACallTreeRisesToTheCaller) {
    korvs_e1psh("outer");
    routine_raising("inner_fatal", 4, 21, "fatal below");
    EXPECT_EQ(korvs_n1rty(0), 4);
    EXPECT_EQ(korvs_n1rty(1), 4);
    routine_raising("inner_warning", 3, 22, "warning below");
    // The warning does not replace the fatal error that the outer frame holds; level 0
    // keeps what the raise recorded, since the pop passed nothing up.
    EXPECT_EQ(korvs_n1rty(1), 3);
    EXPECT_EQ(korvs_n1rty(0), 3);
    routine_raising("inner_clean", 0, 0, nullptr);
    EXPECT_EQ(korvs_n1rty(0), 0);
    EXPECT_EQ(korvs_n1rty(1), 0);
    korvs_e1pop("outer");
    EXPECT_EQ(korvs_error_code(), 21);
    EXPECT_EQ(korvs_n1rty(1), 4);
    EXPECT_TRUE(only_raised(4, 21));
}

TEST_F(ErrorStack, EqualTypeReplacesTheOlderCode) {
    korvs_e1psh("outer");
    routine_raising("first", 3, 31, "one");
    routine_raising("second", 3, 32, "two");
    korvs_e1pop("outer");
    EXPECT_EQ(korvs_error_code(), 32);
}

TEST_F(ErrorStack, NextCleanCallGivesZero) {
    routine_raising("warns", 3, 41, "a warning");
    EXPECT_EQ(korvs_error_code(), 41);
    EXPECT_EQ(korvs_f_machine(4), korvs_amach(4));
    EXPECT_EQ(korvs_error_code(), 0);
    EXPECT_EQ(korvs_n1rty(1), 0);
}

TEST_F(ErrorStack, PushClearsBothLevels) {
    routine_raising("warns", 3, 41, "a warning");
    korvs_e1psh("fresh");
    EXPECT_EQ(korvs_n1rty(0), 0);
    EXPECT_EQ(korvs_n1rty(1), 0);
    korvs_e1pop("fresh");
}

TEST_F(ErrorStack, SingleBlankTextRecordsWithoutPrinting) {
    UnitCapture err(3);
    korvs_error_options(KORVS_SET_PRINT, 3, 1, 0);
    routine_raising("silent", 3, 1234, " ");
    EXPECT_EQ(korvs_error_code(), 1234);
    EXPECT_EQ(err.text(), "");
}

TEST_F(ErrorStack, HookSeesWarningWhosePrintingIsOff) {
    UnitCapture err(3);
    routine_raising("quiet_warning", 3, 51, "not printed");
    EXPECT_EQ(err.text(), "");
    ASSERT_TRUE(only_raised(3, 51));
    EXPECT_EQ(errors()[0].text, "not printed");
}

TEST_F(ErrorStack, ClearingCancelsAStandingAlert) {
    korvs_e1psh("alerts");
    korvs_e1mes(2, 61, "underflow");
    korvs_e1mes(0, 0, " ");
    korvs_e1pop("alerts");
    EXPECT_EQ(korvs_error_code(), 0);
    EXPECT_TRUE(errors().empty());
}

TEST_F(ErrorStack, TypeMinusOneChangesTheStandingCode) {
    korvs_e1psh("changes");
    korvs_e1mes(4, 71, "original");
    korvs_e1mes(-1, 72, nullptr);
    korvs_e1pop("changes");
    EXPECT_EQ(korvs_error_code(), 72);
    EXPECT_EQ(korvs_n1rty(1), 4);
    ASSERT_EQ(errors().size(), 1u);
    EXPECT_EQ(errors()[0].text, "original");
}

TEST_F(ErrorStack, TypeMinusOneWithCodeMinusOneRaisesAnewWithNewText) {
    korvs_e1psh("again");
    korvs_e1mes(3, 81, "old text");
    korvs_e1mes(-1, -1, "new text");
    korvs_e1pop("again");
    EXPECT_EQ(korvs_error_code(), 81);
    ASSERT_EQ(errors().size(), 1u);
    EXPECT_EQ(errors()[0].text, "new text");
}

TEST_F(ErrorStack, NoteCounter) {
    korvs_n1rnof(2);
    EXPECT_EQ(korvs_n1rnof(1), 1);
    EXPECT_EQ(korvs_n1rnof(1), 2);
    EXPECT_EQ(korvs_n1rnof(2), 2);
    EXPECT_EQ(korvs_n1rnof(2), 0);
}

// Template expansion, seen through the hook at the pop.
struct Expansion {
    const char* text;
    const char* expected;
};

class TemplateExpansion : public KorvsTest, public ::testing::WithParamInterface<Expansion> {};

TEST_P(TemplateExpansion, ExpandsInserts) {
    korvs_e1sti(1, 42);
    korvs_e1sti(2, -7);
    korvs_e1std(1, 2.5);
    korvs_e1str(2, 0.25f);
    korvs_e1stz(1, 1.0, -2.0);
    korvs_e1stl(1, "alpha");
    korvs_e1stl(-2, "beta");  // the slot's sign is dropped
    routine_raising("expands", 3, 91, GetParam().text);
    ASSERT_EQ(errors().size(), 1u);
    EXPECT_EQ(errors()[0].text, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Placeholders, TemplateExpansion,
    ::testing::Values(Expansion{"n = %(i1), m = %(I2)", "n = 42, m = -7"},
                      Expansion{"x = %(r1) and %(d2)", "x = 2.500000e+00 and 2.500000e-01"},
                      Expansion{"z = %(c1)", "z = (1.000000e+00,-2.000000e+00)"},
                      Expansion{"z = %(z1%.1f%+.1f)", "z = 1.0-2.0"},
                      Expansion{"%(l1) and %(s2)", "alpha and beta"},
                      Expansion{"[%(i1%5d)]", "[   42]"},
                      Expansion{"[%(r1%8.3f)]", "[   2.500]"},
                      Expansion{"[%(l1%-7s)]", "[alpha  ]"},
                      Expansion{"unknown %(q1) stays", "unknown %(q1) stays"},
                      Expansion{"unknown %(q1%5d) loses its format", "unknown %(q1) loses its format"},
                      Expansion{"no digit %(i) is text", "no digit %(i) is text"},
                      Expansion{"line one%/line two", "line one\nline two"},
                      Expansion{"100%% sure", "100%% sure"},
                      // A format that does not fit the slot falls back to the default.
                      Expansion{"[%(i1%s)]", "[42]"},
                      Expansion{"[%(r1%d)]", "[2.500000e+00]"},
                      Expansion{"[%(l1%n)]", "[alpha]"},
                      Expansion{"unclosed %(i1 text", "unclosed %(i1 text"}));

TEST_F(ErrorStack, LongInsertIsBounded) {
    std::string word(2000, 'w');
    korvs_e1stl(1, word.c_str());
    routine_raising("long_insert", 3, 92, "%(l1)%(l1)");
    ASSERT_EQ(errors().size(), 1u);
    EXPECT_EQ(errors()[0].text, std::string(1022, 'w'));
}

TEST_F(ErrorStack, MessageBufferGrowsForLongTemplates) {
    std::string text(20000, 'a');
    routine_raising("long_text", 3, 93, text.c_str());
    ASSERT_EQ(errors().size(), 1u);
    EXPECT_EQ(errors()[0].text, text);
}

// The stream printer's exact layout.
class StreamPrinter : public KorvsTest {
protected:
    void SetUp() override {
        KorvsTest::SetUp();
        korvs_error_options(KORVS_SET_PRINT, 3, 1, 0);
    }
};

TEST_F(StreamPrinter, ShortMessageOnOneLine) {
    UnitCapture err(3);
    routine_raising("short_one", 3, 101, "It fits.");
    EXPECT_EQ(err.text(), "\n*** WARNING  Error 101 from short_one.  It fits.\n\n");
}

TEST_F(StreamPrinter, WrapsAtTheLastBlankBeforeColumn78) {
    UnitCapture err(3);
    routine_raising("wrap_routine", 3, 77,
                    "The argument x must lie between 0 and 1, but it was 5; the value is rejected and "
                    "nothing is computed here.");
    EXPECT_EQ(err.text(),
              "\n*** WARNING  Error 77 from wrap_routine.  The argument x must lie between 0\n"
              "***          and 1, but it was 5; the value is rejected and nothing is\n"
              "***          computed here.\n\n");
}

TEST_F(StreamPrinter, NewlineInTheTemplateAlwaysBreaks) {
    UnitCapture err(3);
    routine_raising("breaks", 3, 78, "First part.%/Second part.");
    EXPECT_EQ(err.text(), "\n*** WARNING  Error 78 from breaks.  First part.\n***          Second part.\n\n");
}

TEST_F(StreamPrinter, HeadOf78ColumnsStartsTheTextOnTheNextLine) {
    UnitCapture err(3);
    const char* name = "a_routine_with_a_name_long_enough_to_fill_the_head_line_alone";
    routine_raising(name, 3, 79, "Text.");
    EXPECT_EQ(err.text(), std::string("\n*** WARNING  Error 79 from ") + name + ".  \n***          Text.\n\n");
}

TEST_F(StreamPrinter, FirstWordTooLongForTheHeadLineMovesDown) {
    UnitCapture err(3);
    std::string word(50, 'x');
    routine_raising("word_routine", 3, 80, word.c_str());
    EXPECT_EQ(err.text(), "\n*** WARNING  Error 80 from word_routine.  \n***          " + word + "\n\n");
}

TEST_F(StreamPrinter, UnbrokenWordLongerThanALineIsCut) {
    UnitCapture err(3);
    std::string word(100, 'y');
    routine_raising("w", 3, 81, word.c_str());
    EXPECT_EQ(err.text(), "\n*** WARNING  Error 81 from w.  \n***          " + word.substr(0, 66) + "\n***          " +
                              word.substr(66) + "\n\n");
}

TEST_F(StreamPrinter, TerminalHeadHasNoErrorName) {
    UnitCapture err(3);
    korvs_error_options(KORVS_SET_PRINT, 5, 1, 0);
    korvs_i_machine(13);
    EXPECT_EQ(err.text(),
              "\n*** TERMINAL Error from korvs_i_machine.  The argument n = 13 must lie\n"
              "***          between 0 and 12.\n\n");
}

TEST_F(StreamPrinter, NamesTheRoutineTheCallerCalled) {
    UnitCapture err(3);
    korvs_e1psh("exported_one");
    routine_raising("deep_helper", 3, 82, "Raised deep down.");
    korvs_e1pop("exported_one");
    EXPECT_EQ(err.text(), "\n*** WARNING  Error 82 from exported_one.  Raised deep down.\n\n");
}

TEST_F(StreamPrinter, ImmediateTypeIsPrintedOnceWithStopOff) {
    UnitCapture err(3);
    korvs_error_options(KORVS_SET_PRINT, 5, 1, 0);
    routine_raising("immediate", 5, 83, "Printed at once.");
    EXPECT_EQ(err.text(), "\n*** TERMINAL Error from immediate.  Printed at once.\n\n");
    EXPECT_EQ(korvs_error_code(), 83);
}

TEST_F(StreamPrinter, TracebackListsTheCalls) {
    UnitCapture err(3);
    korvs_error_options(KORVS_SET_TRACEBACK, 3, 1, 0);
    korvs_e1psh("top_routine");
    routine_raising("inner_routine", 3, 84, "Traced.");
    korvs_e1pop("top_routine");
    EXPECT_EQ(err.text(),
              "\n*** WARNING  Error 84 from top_routine.  Traced.\n\n"
              "Here is a traceback of the calls in reverse order.\n"
              "  Error Type        Error Code               Routine\n"
              "  ----------        ----------               -------\n"
              " KORVS_WARNING     84                        top_routine\n"
              "                                             USER\n");
}

// An immediate type prints at the raise, while the inner routine is still on the stack.
void raise_immediate_two_deep() {
    korvs_e1psh("top_routine");
    korvs_e1psh("inner_routine");
    korvs_e1mes(6, 85, "Deep.");
    korvs_e1pop("inner_routine");
    korvs_e1pop("top_routine");
}

TEST_F(StreamPrinter, TracebackSkipsEntriesCalledFromInsideTheLibrary) {
    UnitCapture err(3);
    korvs_error_options(KORVS_SET_PRINT, 6, 1, KORVS_SET_TRACEBACK, 6, 1, 0);
    raise_immediate_two_deep();
    EXPECT_EQ(err.text(),
              "\n*** WARNING_IMMEDIATE Error from top_routine.  Deep.\n\n"
              "Here is a traceback of the calls in reverse order.\n"
              "  Error Type        Error Code               Routine\n"
              "  ----------        ----------               -------\n"
              " KORVS_WARNING_IMMEDIATE   85                        top_routine\n"
              "                                             USER\n");
}

TEST_F(StreamPrinter, FullTracebackListsEveryEntry) {
    UnitCapture err(3);
    korvs_error_options(KORVS_SET_PRINT, 6, 1, KORVS_SET_TRACEBACK, 6, 1, KORVS_FULL_TRACEBACK, 1, 0);
    raise_immediate_two_deep();
    EXPECT_EQ(err.text(),
              "\n*** WARNING_IMMEDIATE Error from top_routine.  Deep.\n\n"
              "Here is a traceback of the calls in reverse order.\n"
              "  Error Type        Error Code               Routine\n"
              "  ----------        ----------               -------\n"
              " KORVS_WARNING_IMMEDIATE   85                        inner_routine\n"
              "                                             top_routine\n"
              "                                             USER\n");
}

TEST_F(StreamPrinter, ConsoleModeWritesTheLayoutToStandardOutput) {
    korvs_error_options(KORVS_SET_PRINT_TYPE, KORVS_PRINT_CONSOLE, 0);
    int mode = 0;
    korvs_error_options(KORVS_GET_PRINT_TYPE, &mode, 0);
    EXPECT_EQ(mode, KORVS_PRINT_CONSOLE);
    testing::internal::CaptureStdout();
    routine_raising("console", 3, 86, "To the console.");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\n*** WARNING  Error 86 from console.  To the console.\n\n");
}

TEST_F(StreamPrinter, BoxModeWritesOneLineToStandardError) {
    korvs_error_options(KORVS_SET_PRINT_TYPE, KORVS_PRINT_BOX, KORVS_SET_PRINT, 5, 1, 0);
    testing::internal::CaptureStderr();
    routine_raising("boxed", 3, 87, "In a box.");
    korvs_i_machine(-1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "WARNING Error 87 from boxed.  In a box.\n"
              "TERMINAL Error from korvs_i_machine.  The argument n = -1 must lie between 0 and 12.\n");
}

TEST_F(StreamPrinter, AnyOtherModeSelectsTheStreamPrinter) {
    korvs_error_options(KORVS_SET_PRINT_TYPE, 12345, 0);
    int mode = 0;
    korvs_error_options(KORVS_GET_PRINT_TYPE, &mode, 0);
    EXPECT_EQ(mode, KORVS_PRINT_STREAM);
}

std::string custom_printed;
void custom_printer(int type, int code, const char* routine, char* text) {
    custom_printed += std::to_string(type) + "/" + std::to_string(code) + "/" + routine + "/" + text;
}

TEST_F(StreamPrinter, CustomPrinterReceivesEveryPrintedMessage) {
    UnitCapture err(3);
    korvs_error_options(KORVS_ERROR_PRINT_PROC, custom_printer, 0);
    routine_raising("custom", 3, 88, "Mine.");
    EXPECT_EQ(custom_printed, "3/88/custom/Mine.");
    korvs_error_options(KORVS_ERROR_PRINT_PROC, nullptr, 0);
    routine_raising("custom", 3, 89, "Back.");
    EXPECT_EQ(err.text(), "\n*** WARNING  Error 89 from custom.  Back.\n\n");
}

// The default stops: the process ends at the pop with the type as its exit status.
TEST(DefaultStopDeathTest, FatalEndsWithStatus4AndItsMessage) {
    EXPECT_EXIT(routine_raising("fatal_routine", 4, 1234, "Something went badly wrong."),
                ::testing::ExitedWithCode(4),
                "^\n\\*\\*\\* FATAL    Error 1234 from fatal_routine\\.  Something went badly wrong\\.\n\n$");
}

TEST(DefaultStopDeathTest, TerminalEndsWithStatus5AndItsMessage) {
    EXPECT_EXIT(korvs_i_machine(13), ::testing::ExitedWithCode(5),
                "^\n\\*\\*\\* TERMINAL Error from korvs_i_machine\\.  The argument n = 13 must lie\n"
                "\\*\\*\\*          between 0 and 12\\.\n\n$");
}

TEST(DefaultStopDeathTest, WarningDoesNotStop) {
    EXPECT_EXIT(
        {
            routine_raising("warns", 3, 5, "Only a warning.");
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "^\n\\*\\*\\* WARNING  Error 5 from warns\\.  Only a warning\\.\n\n$");
}

TEST(DefaultStopDeathTest, TraceStackHolds200Entries) {
    // The base entry and 199 pushes fit; the next push ends the process with type 8.
    EXPECT_EXIT(
        {
            for (int i = 0; i < 199; ++i) korvs_e1psh("nested");
            std::fputs("199 fit\n", stderr);
            korvs_e1psh("one_too_many");
        },
        ::testing::ExitedWithCode(8),
        "199 fit\n.*INTERNAL Error from nested\\.  More than 200 routines are nested; the\n"
        "\\*\\*\\*          routine trace is full\\.\n\n.* KORVS_INTERNAL    TRACE_FULL                nested\n");
}

TEST(DefaultStopDeathTest, PopWithAnotherNameIsAnInternalFailure) {
    EXPECT_EXIT(
        {
            korvs_e1psh("pushed_name");
            korvs_e1pop("other_name");
        },
        ::testing::ExitedWithCode(8),
        "INTERNAL Error from pushed_name\\.  The routine other_name returned while\n"
        "\\*\\*\\*          the routine on top of the trace was pushed_name\\.\n");
}

TEST(DefaultStopDeathTest, PopWithoutPushIsAnInternalFailure) {
    EXPECT_EXIT(korvs_e1pop("never_pushed"), ::testing::ExitedWithCode(8),
                "INTERNAL Error from USER\\.  The routine never_pushed returned while the\n"
                "\\*\\*\\*          routine on top of the trace was USER\\.\n");
}

TEST(DefaultStopDeathTest, InvalidLevelIsAnInternalFailure) {
    EXPECT_EXIT(korvs_n1rty(2), ::testing::ExitedWithCode(8),
                "INTERNAL Error from USER\\.  The argument level = 2 must be 0 or 1\\.\n");
}

TEST(DefaultStopDeathTest, InvalidTypeInE1mesEndsWithStatus0) {
    EXPECT_EXIT(korvs_e1mes(9, 1, "bad"), ::testing::ExitedWithCode(0),
                "INTERNAL Error from korvs_e1mes\\.  Error type must be -1,\\.\\.\\.,8, but type\n"
                "\\*\\*\\*          = 9\\.  Message = \"bad\"\n\n");
}

TEST(DefaultStopDeathTest, NoteCounterWithABadOperation) {
    EXPECT_EXIT(korvs_n1rnof(3), ::testing::ExitedWithCode(8),
                "INTERNAL Error from USER\\.  The note counter knows the operations 1 and 2\n"
                "\\*\\*\\*          only\\.\n");
}

}  // namespace
