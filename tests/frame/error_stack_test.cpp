// The error stack seen from a caller: the most-severe-error rule, the special types,
// template expansion, the stream printer's exact layout, the switches and the default stops.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <string>
#include <vector>

#include "korvs_test.hpp"

namespace {

using korvs_test::inserts;
using korvs_test::KorvsTest;
using korvs_test::raise_in;
using korvs_test::UnitCapture;

class ErrorStack : public KorvsTest {};

// The latest message of a frame wins; of nested routines the most severe reaches the
// caller, and the hook sees it though printing is off.
TEST_F(ErrorStack, TheMostSevereErrorOfNestedRoutinesReachesTheCaller) {
    UnitCapture err(3);
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
    raise_in("inner_warning", 3, 22, "warning below");
    // Level 1 is the last pop; level 0 keeps what the raise recorded, the pop passed nothing up.
    EXPECT_TRUE(korvs_n1rty(1) == 3 && korvs_n1rty(0) == 3);
    raise_in("inner_clean", 0, 0, nullptr);
    EXPECT_EQ(korvs_n1rty(0), 0);
    korvs_e1pop("outer");
    EXPECT_TRUE(korvs_error_code() == 21 && korvs_n1rty(1) == 4);
    EXPECT_TRUE(only_raised(4, 21));
    korvs_e1psh("outer");
    raise_in("first", 3, 31, "one");
    raise_in("second", 3, 32, "two");  // an equal type replaces the older code
    korvs_e1pop("outer");
    EXPECT_EQ(korvs_error_code(), 32);
    korvs_e1psh("fresh");  // a push clears both levels
    EXPECT_EQ(korvs_n1rty(0) + korvs_n1rty(1), 0);
    korvs_e1pop("fresh");
    EXPECT_EQ(korvs_f_machine(4), korvs_amach(4));
    EXPECT_EQ(korvs_error_code(), 0);  // the next clean call
    EXPECT_EQ(err.text(), "");
}

TEST_F(ErrorStack, SpecialTypesAndTemplates) {
    UnitCapture err(3);
    korvs_error_options(KORVS_SET_PRINT, 3, 1, 0);
    raise_in("silent", 3, 1234, " ");  // a single blank records without printing
    EXPECT_TRUE(korvs_error_code() == 1234 && err.text().empty());
    clear();
    korvs_e1psh("alerts");
    korvs_e1mes(2, 61, "underflow");
    korvs_e1mes(0, 0, " ");  // clears the standing alert
    korvs_e1pop("alerts");
    EXPECT_TRUE(korvs_error_code() == 0 && errors().empty());
    korvs_e1psh("changes");
    korvs_e1mes(4, 71, "original");
    korvs_e1mes(-1, 72, nullptr);     // type -1 changes the standing code only
    korvs_e1mes(-1, -1, "new text");  // and code -1 raises it anew with a new text
    korvs_e1pop("changes");
    EXPECT_TRUE(korvs_error_code() == 72 && korvs_n1rty(1) == 4);
    ASSERT_EQ(errors().size(), 1u);
    EXPECT_EQ(errors()[0].text, "new text");
    korvs_error_options(KORVS_SET_PRINT, 3, 0, 0);
    korvs_e1sti(1, 42);
    korvs_e1sti(2, -7);
    korvs_e1std(1, 2.5);
    korvs_e1str(2, 0.25f);
    korvs_e1stz(1, 1.0, -2.0);
    korvs_e1stl(1, "alpha");
    korvs_e1stl(-2, "beta");  // the slot's sign is dropped
    const char* cases[][2] = {
        {"%(i1) %(I2) %(r1) %(d2) %(l1) %(s2)", "42 -7 2.500000e+00 2.500000e-01 alpha beta"},
        {"z = %(c1) = %(z1%.1f%+.1f)", "z = (1.000000e+00,-2.000000e+00) = 1.0-2.0"},
        {"[%(i1%5d)] [%(r1%8.3f)] [%(l1%-7s)]", "[   42] [   2.500] [alpha  ]"},
        {"[%(i1%s)] [%(r1%d)] [%(l1%n)]", "[42] [2.500000e+00] [alpha]"},  // unfit formats fall back
        {"%(q1) stays, %(q1%5d) loses its format", "%(q1) stays, %(q1) loses its format"},
        {"no digit %(i) is text; unclosed %(i1 text", "no digit %(i) is text; unclosed %(i1 text"},
        {"line one%/line two; 100%% sure", "line one\nline two; 100%% sure"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(inserts(c[0]), c[1]);
    std::string word(2000, 'w'), text(20000, 'a');
    korvs_e1stl(1, word.c_str());
    EXPECT_EQ(inserts("%(l1)%(l1)"), std::string(1022, 'w'));  // a long insert is bounded
    EXPECT_EQ(inserts(text.c_str()), text);                    // the buffer grows for a long template
    korvs_n1rnof(2);  // the note counter: 2 reads and clears, 1 counts
    const int notes[4] = {korvs_n1rnof(1), korvs_n1rnof(1), korvs_n1rnof(2), korvs_n1rnof(2)};
    EXPECT_EQ(std::vector<int>(notes, notes + 4), (std::vector<int>{1, 2, 2, 0}));
}

std::string printed(void (*raise)()) {
    UnitCapture err(3);
    raise();
    return err.text();
}

void raise_two_deep(int type) {
    korvs_e1psh("top_routine");
    raise_in("inner_routine", type, 85, "Deep.");
    korvs_e1pop("top_routine");
}

std::string custom_printed;

// The stream printer: head, wrap at the last blank before column 78, tracebacks; the box
// printer on standard error, and a printer of the caller's.
TEST_F(ErrorStack, ThePrinters) {
    korvs_error_options(KORVS_SET_PRINT, 3, 1, KORVS_SET_PRINT, 5, 1, KORVS_SET_PRINT, 6, 1, 0);
    const std::string next = "\n***          ";
    EXPECT_EQ(printed([] {
                  raise_in("wrap_routine", 3, 77,
                           "The argument x must lie between 0 and 1, but it was 5; the value is rejected and "
                           "nothing is computed here.%/Second part.");
              }),
              "\n*** WARNING  Error 77 from wrap_routine.  The argument x must lie between 0" + next +
                  "and 1, but it was 5; the value is rejected and nothing is" + next + "computed here." +
                  next + "Second part.\n\n");
    // A first word too long for the head line starts below; a word longer than a line is cut.
    EXPECT_EQ(printed([] { raise_in("w", 3, 81, std::string(100, 'y').c_str()); }),
              "\n*** WARNING  Error 81 from w.  " + next + std::string(66, 'y') + next +
                  std::string(34, 'y') + "\n\n");
    // An immediate type is printed once, at the raise, while the inner routine is on the
    // stack: its entry is left out of the traceback unless the full traceback is asked for.
    // Its head, as a TERMINAL one, has no error name.
    const std::string traceback = "\n*** WARNING_IMMEDIATE Error from top_routine.  Deep.\n\n"
                                  "Here is a traceback of the calls in reverse order.\n"
                                  "  Error Type        Error Code               Routine\n"
                                  "  ----------        ----------               -------\n"
                                  " KORVS_WARNING_IMMEDIATE   85                        ",
                      user = "\n" + std::string(45, ' ') + "USER\n";
    korvs_error_options(KORVS_SET_TRACEBACK, 6, 1, 0);
    EXPECT_EQ(printed([] { raise_two_deep(6); }), traceback + "top_routine" + user);
    korvs_error_options(KORVS_FULL_TRACEBACK, 1, 0);
    EXPECT_EQ(printed([] { raise_two_deep(6); }),
              traceback + "inner_routine\n" + std::string(45, ' ') + "top_routine" + user);
    // The console mode writes the stream printer's layout to the standard output.
    korvs_error_options(KORVS_SET_TRACEBACK, 6, 0, KORVS_SET_PRINT_TYPE, KORVS_PRINT_CONSOLE, 0);
    testing::internal::CaptureStdout();
    raise_in("console", 3, 86, "To the console.");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "\n*** WARNING  Error 86 from console.  To the console.\n\n");
    korvs_error_options(KORVS_SET_PRINT_TYPE, KORVS_PRINT_BOX, 0);
    testing::internal::CaptureStderr();
    raise_in("boxed", 3, 87, "In a box.");
    int print = 0, stop = 0;
    korvs_e1pos(-9, &print, &stop);  // korvs_e1pos names itself though it has no frame in its good case
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "WARNING Error 87 from boxed.  In a box.\n"
              "TERMINAL Error from korvs_e1pos.  The argument type = -9 must lie between -8 and 8.\n");
    korvs_error_printer mine = [](int type, int code, const char* routine, char* text) {
        custom_printed += std::to_string(type) + "/" + std::to_string(code) + "/" + routine + "/" + text;
    };
    korvs_error_options(KORVS_ERROR_PRINT_PROC, mine, 0);
    EXPECT_EQ(printed([] { raise_in("custom", 3, 88, "Mine."); }), "");
    EXPECT_EQ(custom_printed, "3/88/custom/Mine.");
}

int get_switch(int code, int type) {
    int value = -1;
    korvs_error_options(code, type, &value, 0);
    return value;
}

TEST(ErrorSwitches, DefaultsOfEveryType) {
    const int print[8] = {0, 0, 0, 1, 1, 1, 1, 1}, stop[8] = {0, 0, 0, 0, 1, 1, 0, 0};
    for (int type = 1; type <= 7; ++type)
        EXPECT_TRUE(get_switch(KORVS_GET_PRINT, type) == print[type] &&
                    get_switch(KORVS_GET_STOP, type) == stop[type] &&
                    get_switch(KORVS_GET_TRACEBACK, type) == 0)
            << type;
}

// korvs_error_options and korvs_e1pos: checks by position, and the walk. korvs_e1pos sets
// every type with type 0, leaves a switch for a negative value, sets a single type but
// never clears it, and reads with a negative type.
TEST_F(ErrorStack, SwitchesAndTheirChecks) {
    int value = 7, p = 0, s = 0;
    expect_errors({
        {"type 8 is skipped", [] { korvs_error_options(KORVS_SET_PRINT, 8, 1, KORVS_SET_STOP, 2, 1, 0); }, 5,
         132, "%(i1) %(i2) %(i3) %(l1)", "1 5 8 type"},
        {"type 0 read", [&] { korvs_error_options(KORVS_GET_PRINT, 0, &value, 0); }, 5, 132},
        {"unknown code", [] { korvs_error_options(KORVS_FULL_TRACEBACK, 1, 99999, KORVS_SET_STOP, 3, 1, 0); },
         5, 103, "%(i1) at %(i2)", "99999 at 3"},
        {"unknown first code", [] { korvs_error_options(-5, 0); }, 5, 103, "%(i1) at %(i2)", "-5 at 1"},
        {"e1pos type 9", [&] { korvs_e1pos(9, &p, &s); }, 5, 132, "%(i1) %(i2) %(i3) %(l1)", "-8 8 9 type"},
    });
    EXPECT_EQ(value, 7);
    EXPECT_EQ(get_switch(KORVS_GET_STOP, 3), 0);  // the walk ended at the unknown code
    int on = 1, leave = -1, off = 0;
    korvs_e1pos(0, &on, &leave);
    korvs_e1pos(3, &off, &off);
    for (int type = 1; type <= 7; ++type)  // type 2 kept the Stop set past type 8
        EXPECT_TRUE(get_switch(KORVS_GET_PRINT, type) == 1 && get_switch(KORVS_GET_STOP, type) == (type == 2))
            << type;
    korvs_error_options(KORVS_SET_PRINT, 6, 0, KORVS_SET_STOP, 6, 1, 0);
    p = s = -1;
    korvs_e1pos(-6, &p, &s);
    EXPECT_TRUE(p == 0 && s == 1);
    FILE *file = std::tmpfile(), *unit = nullptr;
    korvs_error_options(KORVS_SET_ERROR_FILE, file, 0);
    korvs_umach(3, &unit);
    EXPECT_EQ(unit, file);  // the error file is the error unit
    korvs_error_options(KORVS_SET_ERROR_FILE, stderr, 0);
    std::fclose(file);
}

// The default stops: the process ends at the pop with the type as its exit status. The
// trace holds the base entry and 199 pushes; a full trace ends the process with 8.
TEST(DefaultStopDeathTest, StatusesAndTexts) {
    EXPECT_EXIT(raise_in("fatal_routine", 4, 1234, "Something went badly wrong."),
                ::testing::ExitedWithCode(4),
                "^\n\\*\\*\\* FATAL    Error 1234 from fatal_routine\\.  Something went badly wrong\\.\n\n$");
    EXPECT_EXIT(korvs_i_machine(13), ::testing::ExitedWithCode(5),
                "^\n\\*\\*\\* TERMINAL Error from korvs_i_machine\\.  The argument n = 13 must lie\n"
                "\\*\\*\\*          between 0 and 12\\.\n\n$");
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
}

}  // namespace
