// A routine held against its oracle table in both twins. Each row is judged by the
// routine's own rule, which names the group it counts in (a branch of the method, or a
// check of an exact value) and gives its error in units of what is allowed there; a
// group passes when no error exceeds 1. More than half of the rows are to be judged, and
// a row may raise nothing but the codes its check tolerates. A failure names the routine,
// the twin, the group and its worst row with the value got and the value expected.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "korvs_test.hpp"
#include "oracle.hpp"
#include "twins.hpp"

namespace korvs_test {

// A row with its columns by name.
struct OracleRow {
    const korvs_oracle::Table& table;
    const korvs_oracle::Row& v;
    long double operator[](const char* column) const { return v.at(table.column(column)); }
};

// A group of nullptr leaves the row out.
struct Verdict {
    const char* group = nullptr;
    double error = 0;
    long double expected = 0;
};
using Judge = std::function<Verdict(const OracleRow&, const Twin&, double got)>;

struct OracleCheck {
    korvs_oracle::Routine routine;
    Judge judge;
    std::vector<int> tolerated;  // the codes a row may raise
    std::string name;            // the routine's, and what else it is held against
};
inline OracleCheck check(const korvs_oracle::Routine& routine, Judge judge, std::vector<int> tolerated = {},
                         const std::string& against = "") {
    return {routine, judge, tolerated, routine.name + (against.empty() ? "" : "_" + against)};
}

// An exported routine of the registry by its name.
inline korvs_oracle::Routine exported(const std::string& name) {
    for (const auto& list : {korvs_oracle::distribution_routines(), korvs_oracle::special_routines()})
        for (const auto& r : list)
            if (r.name == name) return r;
    ADD_FAILURE() << "no routine " << name;
    return {};
}

// got against exact, relative in eps; an exact 0 counts the absolute error in units of the
// smallest normal number.
inline double rel_eps(const Twin& w, double got, long double exact) {
    if (std::isnan(got) || std::isnan(double(exact)))
        return std::isnan(got) && std::isnan(double(exact)) ? 0 : 1e30;
    const long double diff = std::fabs(got - exact);
    return double(exact == 0 ? diff / w.tiny : diff / (std::fabs(exact) * w.eps));
}

// The verdicts of a row: got's error relative to e, or absolute, in eps over a scale (the
// tier times what the rounding grows with); or whether got is exactly e.
inline Verdict rel(const Twin& w, double got, long double e, double scale, const char* group = "all") {
    return {group, rel_eps(w, got, e) / scale, e};
}
inline Verdict absolute(const Twin& w, double got, long double e, double scale, const char* group = "all") {
    return {group, double(std::fabs(got - e)) / (w.eps * scale), e};
}
inline Verdict exactly(double got, long double e, const char* group) {
    return {group, got == e ? 0 : 1e30, e};
}

inline void check_oracle(const OracleCheck& c) {
    const korvs_oracle::Table table =
        korvs_oracle::read_table(std::string(KORVS_TEST_DATA) + "/" + c.routine.table);
    ASSERT_FALSE(table.rows.empty()) << "cannot read tests/data/" << c.routine.table;
    for (bool single : {true, false}) {
        const Twin w{single};
        struct Group {
            int rows = 0;
            double worst = 0;
            std::string where = "(none)";
        };
        std::map<std::string, Group> groups;
        for (std::size_t i = 0; i < table.rows.size(); ++i) {
            if (single && table.double_only[i]) continue;
            const korvs_oracle::Row& row = table.rows[i];
            raised.clear();
            const double got = c.routine.call(row, single);
            const Verdict v = c.judge(OracleRow{table, row}, w, got);
            if (!v.group) continue;
            Group& g = groups[v.group];
            ++g.rows;
            auto where = [&] {
                std::ostringstream s;
                s.precision(17);
                for (std::size_t k = 0; k < table.columns.size(); ++k)
                    s << (k ? ", " : "") << table.columns[k] << " " << double(row[k]);
                s << ": got " << got << ", expected " << double(v.expected);
                return s.str();
            };
            for (const Raised& e : raised) {
                bool ok = false;
                for (int code : c.tolerated)
                    ok = ok || e.code == code;
                EXPECT_TRUE(ok) << c.name << " (" << w.name() << ") raised " << e.code << " at " << where();
            }
            if (!std::isnan(g.worst) && (std::isnan(v.error) || v.error > g.worst)) {
                g.worst = v.error;
                g.where = where();
            }
        }
        int judged = 0;
        for (const auto& [name, g] : groups)
            judged += g.rows;
        EXPECT_GT(judged, int(table.rows.size() / 2)) << c.name << " (" << w.name() << "): rows judged";
        for (const auto& [name, g] : groups) {
            if (std::getenv("KORVS_SHOW_ACCURACY"))
                std::printf("%s (%s), %s: %d rows, worst %.3g\n", c.name.c_str(), w.name(), name.c_str(),
                            g.rows, g.worst);
            EXPECT_LE(g.worst, 1) << c.name << " (" << w.name() << "), " << name << ", " << g.rows
                                  << " rows: worst error " << g.worst << " of the allowed, at " << g.where;
        }
    }
}

}  // namespace korvs_test
