// Test support: a fixture that turns Print and Stop off and records, through the error
// hook, every (type, code) that reaches the caller's level.
#pragma once

#include <gtest/gtest.h>
#include <korvstat.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace korvs_test {

struct Raised {
    int type;
    int code;
    std::string text;
};

inline thread_local std::vector<Raised> raised;

inline void record_hook(int type, int code, const char* text) {
    if (type != 0 || code != 0) raised.push_back({type, code, text ? text : ""});
}

// Print and Stop off for the types 1 to 7 in the calling thread.
inline void quiet() {
    for (int type = 1; type <= 7; ++type)
        korvs_error_options(KORVS_SET_PRINT, type, 0, KORVS_SET_STOP, type, 0, 0);
}

// A routine of the caller's own raising one message, as library routines do.
inline void raise_in(const char* routine, int type, int code, const char* text) {
    korvs_e1psh(routine);
    korvs_e1mes(type, code, text);
    korvs_e1pop(routine);
}

// The inserts left by the last message, read back through a message of the caller's
// own: inserts("%(i1) %(r2%.9g) %(l1)").
inline std::string inserts(const char* text) {
    raised.clear();
    raise_in("peek", 3, 1, text);
    return raised.empty() ? "" : raised.back().text;
}

// A row of an error table: a call, the one (type, code) it raises (0: nothing) and
// the inserts it leaves, read through the placeholders.
struct ErrorCase {
    std::string what;
    std::function<void()> call;
    int type = 0, code = 0;
    const char* placeholders = "";
    const char* inserts = "";
};

class KorvsTest : public ::testing::Test {
protected:
    void SetUp() override {
        quiet();
        raised.clear();
        korvs_set_at_checksum(record_hook);
    }
    void TearDown() override { korvs_set_at_checksum(nullptr); }

    // The errors the hook saw since the last clear.
    static const std::vector<Raised>& errors() { return raised; }
    static void clear() { raised.clear(); }
    // True when the hook saw this (type, code) and nothing else. An immediate type
    // reaches the hook twice: when it is raised and at the pop of the caller's routine.
    static ::testing::AssertionResult only_raised(int type, int code) {
        bool all_match = !raised.empty();
        std::string seen;
        for (const Raised& r : raised) {
            all_match = all_match && r.type == type && r.code == code;
            seen += " (" + std::to_string(r.type) + ", " + std::to_string(r.code) + ")";
        }
        if (all_match) return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure()
               << "expected only (" << type << ", " << code << "); seen:" << seen;
    }
    // Each row of an error table in turn.
    static void expect_errors(const std::vector<ErrorCase>& cases) {
        for (const ErrorCase& c : cases) {
            clear();
            c.call();
            if (c.code == 0) {
                EXPECT_TRUE(errors().empty()) << c.what;
                continue;
            }
            EXPECT_TRUE(only_raised(c.type, c.code)) << c.what;
            if (c.placeholders[0]) {
                EXPECT_EQ(inserts(c.placeholders), c.inserts) << c.what;
            }
        }
    }
};

// Captures what the library writes on a logical unit into a string.
class UnitCapture {
public:
    explicit UnitCapture(int unit) : unit_(unit) {
        file_ = std::tmpfile();
        korvs_umach(unit_, &previous_);
        korvs_umach(-unit_, &file_);
    }
    ~UnitCapture() {
        korvs_umach(-unit_, &previous_);
        std::fclose(file_);
    }
    std::string text() {
        std::fflush(file_);
        std::string out;
        std::rewind(file_);
        for (int ch; (ch = std::fgetc(file_)) != EOF;)
            out.push_back(static_cast<char>(ch));
        return out;
    }

private:
    int unit_;
    FILE* file_ = nullptr;
    FILE* previous_ = nullptr;
};

}  // namespace korvs_test
