// The tables of tests/data/categorical_tables.csv and the oracle values written for them by
// tools/gen_categorical_r_oracle.R and tools/gen_contingency_oracle.py, as rows
// "id,quantity,index,value".
#pragma once

#include <cmath>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace categorical_data {

struct TwoWay {
    int id = 0;
    std::string name;
    int rows = 0, cols = 0;
    std::vector<double> counts;  // row-major

    double total() const {
        double t = 0;
        for (double x : counts)
            t += x;
        return t;
    }
    bool margins_positive() const {
        for (int i = 0; i < rows; ++i) {
            double s = 0;
            for (int j = 0; j < cols; ++j)
                s += counts[i * cols + j];
            if (s <= 0) return false;
        }
        for (int j = 0; j < cols; ++j) {
            double s = 0;
            for (int i = 0; i < rows; ++i)
                s += counts[i * cols + j];
            if (s <= 0) return false;
        }
        return true;
    }
    template <class T> std::vector<T> as() const { return std::vector<T>(counts.begin(), counts.end()); }
};

inline std::string path(const char* file) { return std::string(KORVS_TEST_DATA) + "/" + file; }

inline std::vector<TwoWay> tables() {
    std::vector<TwoWay> out;
    std::ifstream in(path("categorical_tables.csv"));
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#' || line.rfind("id,", 0) == 0) continue;
        std::stringstream ss(line);
        std::string field;
        TwoWay t;
        std::getline(ss, field, ',');
        t.id = std::stoi(field);
        std::getline(ss, t.name, ',');
        std::getline(ss, field, ',');
        t.rows = std::stoi(field);
        std::getline(ss, field, ',');
        t.cols = std::stoi(field);
        std::getline(ss, field, ',');
        std::stringstream counts(field);
        for (double x; counts >> x;)
            t.counts.push_back(x);
        out.push_back(t);
    }
    return out;
}

inline TwoWay table(const std::string& name) {
    for (const TwoWay& t : tables())
        if (t.name == name) return t;
    return {};
}

// The oracle values of one file, by (id, quantity, index); NaN where a value is absent.
class Oracle {
public:
    explicit Oracle(const char* file) {
        std::ifstream in(path(file));
        for (std::string line; std::getline(in, line);) {
            if (line.empty() || line[0] == '#' || line.rfind("id,", 0) == 0) continue;
            std::stringstream ss(line);
            std::string id, quantity, index, value;
            std::getline(ss, id, ',');
            std::getline(ss, quantity, ',');
            std::getline(ss, index, ',');
            std::getline(ss, value, ',');
            values_[{std::stoi(id), quantity, std::stoi(index)}] = std::strtold(value.c_str(), nullptr);
        }
    }
    bool empty() const { return values_.empty(); }
    long double get(int id, const std::string& quantity, int index = 0) const {
        auto it = values_.find({id, quantity, index});
        return it == values_.end() ? NAN : it->second;
    }
    // Every (id, index) of a quantity.
    std::vector<std::pair<int, int>> keys(const std::string& quantity) const {
        std::vector<std::pair<int, int>> out;
        for (const auto& [key, value] : values_)
            if (std::get<1>(key) == quantity) out.push_back({std::get<0>(key), std::get<2>(key)});
        return out;
    }

private:
    std::map<std::tuple<int, std::string, int>, long double> values_;
};

}  // namespace categorical_data
