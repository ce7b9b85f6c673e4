// The error stack and its settings seen from a caller: levels, the most-severe-error rule,
// template expansion, the printers' exact layout, the switches and the default stops.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <string>

#include "korvs_test.hpp"

namespace {

using korvs_test::inserts;
using korvs_test::KorvsTest;
using korvs_test::raise_in;
using korvs_test::UnitCapture;

void e1pos(int type) {
    int print = 0, stop = 0;
    korvs_e1pos(type, &print, &stop);
}

class ErrorStack : public KorvsTest {};

TEST_F(ErrorStack, LatestMessageOfAFrameWinsAndTheMostSevereRisesToTheCaller) {
    korvs_e1psh("raises");
    korvs_e1mes(3, 11, "first");
    korvs_e1mes(4, 12, "second");
    korvs_e1mes(3, 13, "third");
    korvs_e1pop("raises");
    EXPECT_EQ(korvs_error_code(), 13);
    ASSERT_EQ(errors().size(), 1u);
    EXPECT_EQ(errors()[0].text, "third");
    clear();
    korvs_e1psh("outer");
    raise_in("inner_fatal", 4, 21, "fatal below");
    EXPECT_EQ(korvs_n1rty(0), 4);
    raise_in("inner_warning", 3, 22, "warning below");
    // Level 1 is the last pop; level 0 keeps what the raise recorded, the pop passed nothing up.
    EXPECT_EQ(korvs_n1rty(1), 3);
    EXPECT_EQ(korvs_n1rty(0), 3);
    raise_in("inner_clean", 0, 0, nullptr);
    EXPECT_EQ(korvs_n1rty(0), 0);
    korvs_e1pop("outer");
    EXPECT_EQ(korvs_error_code(), 21);
    EXPECT_EQ(korvs_n1rty(1), 4);
    EXPECT_TRUE(only_raised(4, 21));
    korvs_e1psh("outer");
    raise_in("first", 3, 31, "one");
    raise_in("second", 3, 32, "two");  // an equal type replaces the older code
    korvs_e1pop("outer");
    EXPECT_EQ(korvs_error_code(), 32);
    korvs_e1psh("fresh");  // a push clears both levels
    EXPECT_EQ(korvs_n1rty(0) + korvs_n1rty(1), 0);
    korvs_e1pop("fresh");
    raise_in("warns", 3, 41, "a warning");
    EXPECT_EQ(korvs_f_machine(4), korvs_amach(4));
    EXPECT_EQ(korvs_error_code(), 0);  // the next clean call
}

TEST_F(ErrorStack, SpecialTypesAndTexts) {
    UnitCapture err(3);
    korvs_error_options(KORVS_SET_PRINT, 3, 1, 0);
    raise_in("silent", 3, 1234, " ");  // a single blank records without printing
    EXPECT_EQ(korvs_error_code(), 1234);
    EXPECT_EQ(err.text(), "");
    clear();
    korvs_e1psh("alerts");
    korvs_e1mes(2, 61, "underflow");
    korvs_e1mes(0, 0, " ");  // clears the standing alert
    korvs_e1pop("alerts");
    EXPECT_EQ(korvs_error_code(), 0);
    EXPECT_TRUE(errors().empty());
    korvs_e1psh("changes");
    korvs_e1mes(4, 71, "original");
    korvs_e1mes(-1, 72, nullptr);  // type -1 changes the standing code only
    korvs_e1pop("changes");
    EXPECT_EQ(korvs_error_code(), 72);
    EXPECT_EQ(korvs_n1rty(1), 4);
    ASSERT_EQ(errors().size(), 1u);
    EXPECT_EQ(errors()[0].text, "original");
    clear();
    korvs_error_options(KORVS_SET_PRINT, 3, 0, 0);
    korvs_e1psh("again");
    korvs_e1mes(3, 81, "old text");
    korvs_e1mes(-1, -1, "new text");  // raised anew with a new text
    korvs_e1pop("again");
    EXPECT_EQ(korvs_error_code(), 81);
    ASSERT_EQ(errors().size(), 1u);
    EXPECT_EQ(errors()[0].text, "new text");
    korvs_n1rnof(2);
    EXPECT_EQ(korvs_n1rnof(1), 1);
    EXPECT_EQ(korvs_n1rnof(1), 2);
    EXPECT_EQ(korvs_n1rnof(2), 2);
    EXPECT_EQ(korvs_n1rnof(2), 0);
    EXPECT_EQ(err.text(), "");  // nothing whose Print switch is off
}

TEST_F(ErrorStack, TemplateExpansion) {
    const struct {
        const char *text, *expected;
    } cases[] = {
        {"n = %(i1), m = %(I2)", "n = 42, m = -7"},
        {"x = %(r1) and %(d2)", "x = 2.500000e+00 and 2.500000e-01"},
        {"z = %(c1)", "z = (1.000000e+00,-2.000000e+00)"},
        {"z = %(z1%.1f%+.1f)", "z = 1.0-2.0"},
        {"%(l1) and %(s2)", "alpha and beta"},
        {"[%(i1%5d)] [%(r1%8.3f)] [%(l1%-7s)]", "[   42] [   2.500] [alpha  ]"},
        {"unknown %(q1) stays", "unknown %(q1) stays"},
        {"unknown %(q1%5d) loses its format", "unknown %(q1) loses its format"},
        {"no digit %(i) is text", "no digit %(i) is text"},
        {"line one%/line two", "line one\nline two"},
        {"100%% sure", "100%% sure"},
        {"[%(i1%s)] [%(r1%d)] [%(l1%n)]", "[42] [2.500000e+00] [alpha]"},  // unfit formats fall back
        {"unclosed %(i1 text", "unclosed %(i1 text"},
    };
    for (const auto& c : cases) {
        korvs_e1sti(1, 42);
        korvs_e1sti(2, -7);
        korvs_e1std(1, 2.5);
        korvs_e1str(2, 0.25f);
        korvs_e1stz(1, 1.0, -2.0);
        korvs_e1stl(1, "alpha");
        korvs_e1stl(-2, "beta");  // the slot's sign is dropped
        clear();
        raise_in("expands", 3, 91, c.text);
        ASSERT_EQ(errors().size(), 1u);
        EXPECT_EQ(errors()[0].text, c.expected);
    }
    std::string word(2000, 'w'), text(20000, 'a');
    korvs_e1stl(1, word.c_str());
    EXPECT_EQ(inserts("%(l1)%(l1)"), std::string(1022, 'w'));  // a long insert is bounded
    clear();
    raise_in("long_text", 3, 93, text.c_str());  // the buffer grows for a long template
    EXPECT_EQ(errors().at(0).text, text);
}

// The stream printer's layout: head, wrap at the last blank before column 78, tracebacks.
class StreamPrinter : public KorvsTest {
protected:
    void SetUp() override {
        KorvsTest::SetUp();
        korvs_error_options(KORVS_SET_PRINT, 3, 1, KORVS_SET_PRINT, 5, 1, KORVS_SET_PRINT, 6, 1, 0);
    }
    static void expect_printed(void (*raise)(), const std::string& expected) {
        UnitCapture err(3);
        raise();
        EXPECT_EQ(err.text(), expected);
    }
};

TEST_F(StreamPrinter, Layouts) {
    expect_printed(
        [] {
            raise_in("wrap_routine", 3, 77,
                     "The argument x must lie between 0 and 1, but it was 5; the value is rejected and "
                     "nothing is computed here.");
        },
        "\n*** WARNING  Error 77 from wrap_routine.  The argument x must lie between 0\n"
        "***          and 1, but it was 5; the value is rejected and nothing is\n"
        "***          computed here.\n\n");
    expect_printed([] { raise_in("breaks", 3, 78, "First part.%/Second part."); },
                   "\n*** WARNING  Error 78 from breaks.  First part.\n***          Second part.\n\n");
    // A head of 78 columns, and a first word too long for the head line, start the text below.
    expect_printed(
        [] { raise_in("a_routine_with_a_name_long_enough_to_fill_the_head_line_alone", 3, 79, "T."); },
        "\n*** WARNING  Error 79 from a_routine_with_a_name_long_enough_to_fill_the_head_line_alone.  "
        "\n***          T.\n\n");
    expect_printed([] { raise_in("word_routine", 3, 80, std::string(50, 'x').c_str()); },
                   "\n*** WARNING  Error 80 from word_routine.  \n***          " + std::string(50, 'x') +
                       "\n\n");
    // An unbroken word longer than a line is cut.
    expect_printed([] { raise_in("w", 3, 81, std::string(100, 'y').c_str()); },
                   "\n*** WARNING  Error 81 from w.  \n***          " + std::string(66, 'y') +
                       "\n***          " + std::string(34, 'y') + "\n\n");
    // A TERMINAL head has no error name; an immediate type is printed once, at the raise.
    expect_printed([] { raise_in("immediate", 5, 83, "Printed at once."); },
                   "\n*** TERMINAL Error from immediate.  Printed at once.\n\n");
    EXPECT_EQ(korvs_error_code(), 83);
}

void raise_two_deep(int type) {
    korvs_e1psh("top_routine");
    korvs_e1psh("inner_routine");
    korvs_e1mes(type, 85, "Deep.");
    korvs_e1pop("inner_routine");
    korvs_e1pop("top_routine");
}

TEST_F(StreamPrinter, Tracebacks) {
    const std::string head = "Here is a traceback of the calls in reverse order.\n"
                             "  Error Type        Error Code               Routine\n"
                             "  ----------        ----------               -------\n";
    korvs_error_options(KORVS_SET_TRACEBACK, 3, 1, KORVS_SET_TRACEBACK, 6, 1, 0);
    expect_printed([] { raise_two_deep(3); },
                   "\n*** WARNING  Error 85 from top_routine.  Deep.\n\n" + head +
                       " KORVS_WARNING     85                        top_routine\n" + std::string(45, ' ') +
                       "USER\n");
    // The head names the routine the caller called. An immediate type prints while the inner
    // routine is on the stack: that entry is skipped unless the full traceback is asked for.
    const std::string immediate = "\n*** WARNING_IMMEDIATE Error from top_routine.  Deep.\n\n" + head +
                                  " KORVS_WARNING_IMMEDIATE   85                        ";
    expect_printed([] { raise_two_deep(6); }, immediate + "top_routine\n" + std::string(45, ' ') + "USER\n");
    korvs_error_options(KORVS_FULL_TRACEBACK, 1, 0);
    expect_printed([] { raise_two_deep(6); }, immediate + "inner_routine\n" + std::string(45, ' ') +
                                                  "top_routine\n" + std::string(45, ' ') + "USER\n");
}

std::string custom_printed;

TEST_F(StreamPrinter, PrintModesAndACustomPrinter) {
    korvs_error_options(KORVS_SET_PRINT_TYPE, KORVS_PRINT_CONSOLE, 0);
    testing::internal::CaptureStdout();
    raise_in("console", 3, 86, "To the console.");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "\n*** WARNING  Error 86 from console.  To the console.\n\n");
    korvs_error_options(KORVS_SET_PRINT_TYPE, KORVS_PRINT_BOX, 0);
    testing::internal::CaptureStderr();
    raise_in("boxed", 3, 87, "In a box.");
    e1pos(-9);  // korvs_e1pos names itself though it has no frame in its good case
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "WARNING Error 87 from boxed.  In a box.\n"
              "TERMINAL Error from korvs_e1pos.  The argument type = -9 must lie between -8 and 8.\n");
    int mode = 0;
    korvs_error_options(KORVS_SET_PRINT_TYPE, 12345, KORVS_GET_PRINT_TYPE, &mode, 0);
    EXPECT_EQ(mode, KORVS_PRINT_STREAM);  // any other mode is the stream printer
    korvs_error_options(
        KORVS_ERROR_PRINT_PROC,
        +[](int type, int code, const char* routine, char* text) {
            custom_printed += std::to_string(type) + "/" + std::to_string(code) + "/" + routine + "/" + text;
        },
        0);
    expect_printed([] { raise_in("custom", 3, 88, "Mine."); }, "");
    EXPECT_EQ(custom_printed, "3/88/custom/Mine.");
    korvs_error_options(KORVS_ERROR_PRINT_PROC, nullptr, 0);
    expect_printed([] { raise_in("custom", 3, 89, "Back."); },
                   "\n*** WARNING  Error 89 from custom.  Back.\n\n");
}

// korvs_error_options and korvs_e1pos: defaults, checks by position, and the walk.
int get_switch(int code, int type) {
    int value = -1;
    korvs_error_options(code, type, &value, 0);
    return value;
}

TEST(ErrorSwitches, DefaultsOfEveryType) {
    const int print[8] = {0, 0, 0, 1, 1, 1, 1, 1}, stop[8] = {0, 0, 0, 0, 1, 1, 0, 0};
    for (int type = 1; type <= 7; ++type) {
        EXPECT_EQ(get_switch(KORVS_GET_PRINT, type), print[type]) << type;
        EXPECT_EQ(get_switch(KORVS_GET_STOP, type), stop[type]) << type;
        EXPECT_EQ(get_switch(KORVS_GET_TRACEBACK, type), 0) << type;
    }
}

class ErrorOptions : public KorvsTest {};

TEST_F(ErrorOptions, ChecksAndTheWalk) {
    int value = 7;
    expect_errors({
        {"type 8 is skipped", [] { korvs_error_options(KORVS_SET_PRINT, 8, 1, KORVS_SET_STOP, 2, 1, 0); }, 5,
         132, "%(i1) %(i2) %(i3) %(l1)", "1 5 8 type"},
        {"type 0 read", [&] { korvs_error_options(KORVS_GET_PRINT, 0, &value, 0); }, 5, 132},
        {"unknown code", [] { korvs_error_options(KORVS_FULL_TRACEBACK, 1, 99999, KORVS_SET_STOP, 3, 1, 0); },
         5, 103, "%(i1) at %(i2)", "99999 at 3"},
        {"unknown first code", [] { korvs_error_options(-5, 0); }, 5, 103, "%(i1) at %(i2)", "-5 at 1"},
        {"e1pos type 9", [] { e1pos(9); }, 5, 132, "%(i1) %(i2) %(i3) %(l1)", "-8 8 9 type"},
    });
    EXPECT_EQ(value, 7);
    EXPECT_EQ(get_switch(KORVS_GET_STOP, 2), 1);  // the walk went on past type 8
    EXPECT_EQ(get_switch(KORVS_GET_STOP, 3), 0);  // and ended at the unknown code
    FILE* file = std::tmpfile();
    FILE* unit = nullptr;
    korvs_error_options(KORVS_SET_ERROR_FILE, file, 0);
    korvs_umach(3, &unit);
    EXPECT_EQ(unit, file);  // the error file is the error unit
    korvs_error_options(KORVS_SET_ERROR_FILE, stderr, 0);
    std::fclose(file);
}

TEST_F(ErrorOptions, E1posSetsFromTypeZeroUpNeverClearsAndReadsWithANegativeType) {
    int print = 1, stop = -1;
    korvs_e1pos(0, &print, &stop);
    for (int type = 1; type <= 7; ++type) {
        EXPECT_EQ(get_switch(KORVS_GET_PRINT, type), 1) << type;
        EXPECT_EQ(get_switch(KORVS_GET_STOP, type), 0) << type;  // a negative value leaves it
    }
    stop = 1;
    korvs_e1pos(3, &print, &stop);
    print = stop = 0;
    korvs_e1pos(3, &print, &stop);
    EXPECT_EQ(get_switch(KORVS_GET_PRINT, 3), 1);
    EXPECT_EQ(get_switch(KORVS_GET_STOP, 3), 1);
    korvs_error_options(KORVS_SET_PRINT, 6, 1, KORVS_SET_STOP, 6, 0, 0);
    print = stop = -1;
    korvs_e1pos(-6, &print, &stop);
    EXPECT_EQ(print, 1);
    EXPECT_EQ(stop, 0);
}

// The default stops: the process ends at the pop with the type as its exit status.
TEST(DefaultStopDeathTest, StatusesAndTexts) {
    EXPECT_EXIT(raise_in("fatal_routine", 4, 1234, "Something went badly wrong."),
                ::testing::ExitedWithCode(4),
                "^\n\\*\\*\\* FATAL    Error 1234 from fatal_routine\\.  Something went badly wrong\\.\n\n$");
    EXPECT_EXIT(korvs_i_machine(13), ::testing::ExitedWithCode(5),
                "^\n\\*\\*\\* TERMINAL Error from korvs_i_machine\\.  The argument n = 13 must lie\n"
                "\\*\\*\\*          between 0 and 12\\.\n\n$");
    EXPECT_EXIT(
        {
            raise_in("warns", 3, 5, "Only a warning.");
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "^\n\\*\\*\\* WARNING  Error 5 from warns\\.  Only a warning\\.\n\n$");
    // The base entry and 199 pushes fit; the next push ends the process with type 8.
    EXPECT_EXIT(
        {
            for (int i = 0; i < 199; ++i)
                korvs_e1psh("nested");
            std::fputs("199 fit\n", stderr);
            korvs_e1psh("one_too_many");
        },
        ::testing::ExitedWithCode(8),
        "199 fit\n.*INTERNAL Error from nested\\.  More than 200 routines are nested; the\n"
        "\\*\\*\\*          routine trace is full\\.\n\n.* KORVS_INTERNAL    TRACE_FULL                "
        "nested\n");
    EXPECT_EXIT(
        {
            korvs_e1psh("pushed_name");
            korvs_e1pop("other_name");
        },
        ::testing::ExitedWithCode(8),
        "INTERNAL Error from pushed_name\\.  The routine other_name returned while\n"
        "\\*\\*\\*          the routine on top of the trace was pushed_name\\.\n");
    EXPECT_EXIT(korvs_e1pop("never_pushed"), ::testing::ExitedWithCode(8),
                "INTERNAL Error from USER\\.  The routine never_pushed returned while the\n"
                "\\*\\*\\*          routine on top of the trace was USER\\.\n");
    EXPECT_EXIT(korvs_n1rty(2), ::testing::ExitedWithCode(8),
                "INTERNAL Error from USER\\.  The argument level = 2 must be 0 or 1\\.\n");
    EXPECT_EXIT(korvs_e1mes(9, 1, "bad"), ::testing::ExitedWithCode(0),
                "INTERNAL Error from korvs_e1mes\\.  Error type must be -1,\\.\\.\\.,8, but type\n"
                "\\*\\*\\*          = 9\\.  Message = \"bad\"\n\n");
    EXPECT_EXIT(korvs_n1rnof(3), ::testing::ExitedWithCode(8),
                "INTERNAL Error from USER\\.  The note counter knows the operations 1 and 2\n"
                "\\*\\*\\*          only\\.\n");
}

}  // namespace
