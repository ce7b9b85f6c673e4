// korvs_msgwrite: compiles the message source (messages/*.msg) into the binary message
// file korvs_e.bin that the library reads.
//
//   korvs_msgwrite [--swap] [--shift N] -o korvs_e.bin file.msg...
//
// The file: a header of seven 16-bit words (magic 29432, reserved, count, reserved,
// longest text, longest name, shift), the ascending record keys, count + 1 record
// offsets in units of 2^shift from the data base, then the records (template, NUL,
// name, NUL, zero filler up to the unit), and one unit of zeros behind the last record
// because the reader reads one unit more than a record holds. --swap writes the byte
// order opposite to this machine's; --shift sets the smallest shift to use (1 or more).
#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace {

constexpr std::uint16_t kMagic = 29432;
constexpr std::size_t kMaxName = 31;

struct Record {
    long code;
    int type;
    std::string name;
    std::string text;
    std::string where;  // file:line, for messages about the record
    std::uint16_t key() const { return static_cast<std::uint16_t>(code % 100000); }
};

[[noreturn]] void fail(const std::string& what) {
    std::fprintf(stderr, "korvs_msgwrite: %s\n", what.c_str());
    std::exit(1);
}

bool valid_name(const std::string& name) {
    if (name.empty() || name.size() > kMaxName || !std::isupper(static_cast<unsigned char>(name[0])))
        return false;
    return std::all_of(name.begin(), name.end(), [](char ch) {
        return std::isupper(static_cast<unsigned char>(ch)) || std::isdigit(static_cast<unsigned char>(ch)) ||
               ch == '_';
    });
}

// A placeholder "%(" letter digit ... ")" must name a known slot family and close; a
// typo here would otherwise print as plain text in every message of the code.
std::string placeholder_problem(const std::string& text) {
    for (std::size_t i = 0; i + 3 < text.size(); ++i) {
        if (text[i] != '%' || text[i + 1] != '(' || !std::isdigit(static_cast<unsigned char>(text[i + 3])))
            continue;
        char letter = static_cast<char>(std::toupper(static_cast<unsigned char>(text[i + 2])));
        if (!std::strchr("CZDFRILS", letter)) return std::string("unknown placeholder letter ") + text[i + 2];
        if (text[i + 3] == '0') return "placeholder slot 0 (slots are 1 to 9)";
        if (text.find(')', i + 4) == std::string::npos) return "placeholder without its closing parenthesis";
    }
    return "";
}

// One line "<code> <type> <NAME> <template>".
Record parse_line(const std::string& line, const std::string& where) {
    Record r;
    r.where = where;
    const char* p = line.c_str();
    char* end = nullptr;
    r.code = std::strtol(p, &end, 10);
    if (end == p || !std::isspace(static_cast<unsigned char>(*end)))
        fail(where + ": the line does not start with a code");
    if (r.code < 1 || r.code > 99999)
        fail(where + ": code " + std::to_string(r.code) + " outside 1 to 99999");
    p = end;
    long type = std::strtol(p, &end, 10);
    if (end == p || !std::isspace(static_cast<unsigned char>(*end))) fail(where + ": no type after the code");
    if (type < 1 || type > 8) fail(where + ": type " + std::to_string(type) + " outside 1 to 8");
    r.type = static_cast<int>(type);
    p = end;
    while (std::isspace(static_cast<unsigned char>(*p)))
        ++p;
    const char* name_end = p;
    while (*name_end && !std::isspace(static_cast<unsigned char>(*name_end)))
        ++name_end;
    r.name.assign(p, name_end);
    if (!valid_name(r.name))
        fail(where + ": name '" + r.name + "' is not an upper-case word of at most 31 characters");
    p = name_end;
    while (*p == ' ' || *p == '\t')
        ++p;
    r.text = p;
    while (!r.text.empty() && std::isspace(static_cast<unsigned char>(r.text.back())))
        r.text.pop_back();
    if (r.text.empty()) fail(where + ": code " + std::to_string(r.code) + " has no template");
    std::string problem = placeholder_problem(r.text);
    if (!problem.empty()) fail(where + ": " + problem);
    return r;
}

std::vector<Record> read_sources(const std::vector<std::string>& files) {
    std::vector<Record> records;
    std::map<std::uint16_t, std::string> seen;
    for (const std::string& file : files) {
        std::ifstream in(file);
        if (!in) fail("cannot read " + file);
        std::string line;
        for (int number = 1; std::getline(in, line); ++number) {
            std::size_t first = line.find_first_not_of(" \t\r");
            if (first == std::string::npos || line[first] == '#') continue;
            Record r = parse_line(line.substr(first), file + ":" + std::to_string(number));
            auto [it, fresh] = seen.emplace(r.key(), r.where);
            if (!fresh)
                fail(r.where + ": code " + std::to_string(r.code) + " repeats the key of " + it->second);
            records.push_back(std::move(r));
        }
    }
    std::sort(records.begin(), records.end(),
              [](const Record& a, const Record& b) { return a.key() < b.key(); });
    return records;
}

class Output {
public:
    explicit Output(bool swap) : swap_(swap) {}
    void word(std::uint16_t w) {
        unsigned char lo = static_cast<unsigned char>(w & 0xFF), hi = static_cast<unsigned char>(w >> 8);
        bool little = native_little() != swap_;
        bytes_.push_back(little ? lo : hi);
        bytes_.push_back(little ? hi : lo);
    }
    void text(const std::string& s) {
        bytes_.insert(bytes_.end(), s.begin(), s.end());
        bytes_.push_back(0);
    }
    void pad_to(std::size_t size) { bytes_.resize(std::max(bytes_.size(), size), 0); }
    std::size_t size() const { return bytes_.size(); }
    const std::vector<unsigned char>& bytes() const { return bytes_; }

private:
    static bool native_little() {
        std::uint16_t probe = 1;
        unsigned char first;
        std::memcpy(&first, &probe, 1);
        return first == 1;
    }
    bool swap_;
    std::vector<unsigned char> bytes_;
};

std::vector<unsigned char> build_file(const std::vector<Record>& records, unsigned min_shift, bool swap) {
    const std::size_t count = records.size();
    if (count > 65535) fail("too many records for 16-bit tables");
    std::size_t longest_text = 0, longest_name = 0;
    for (const Record& r : records) {
        longest_text = std::max(longest_text, r.text.size());
        longest_name = std::max(longest_name, r.name.size());
    }
    // The smallest unit at which every offset, the end of the last record included,
    // fits in 16 bits.
    unsigned shift = std::max(min_shift, 1u);
    std::vector<std::size_t> units;
    for (;; ++shift) {
        if (shift > 15) fail("the records do not fit 16-bit offsets");
        std::size_t unit = std::size_t{1} << shift, end = 0;
        units.clear();
        for (const Record& r : records) {
            units.push_back((r.text.size() + r.name.size() + 2 + unit - 1) / unit);
            end += units.back();
        }
        if (end <= 65535) break;
    }
    std::size_t unit = std::size_t{1} << shift;
    // The reader's buffer holds longest_text + longest_name + 2 bytes and a record is read
    // with one unit more than its size: raise the text length where padding needs it.
    std::size_t widest_read = 0;
    for (std::size_t u : units)
        widest_read = std::max(widest_read, (u + 1) * unit);
    if (widest_read > longest_text + longest_name + 2) longest_text = widest_read - longest_name - 2;
    if (longest_text > 65535) fail("a template is too long for the 16-bit length field");

    Output out(swap);
    for (std::uint16_t w : {kMagic, std::uint16_t{0}, static_cast<std::uint16_t>(count), std::uint16_t{0},
                            static_cast<std::uint16_t>(longest_text),
                            static_cast<std::uint16_t>(longest_name), static_cast<std::uint16_t>(shift)})
        out.word(w);
    for (const Record& r : records)
        out.word(r.key());
    std::size_t offset = 0;
    out.word(0);
    for (std::size_t u : units)
        out.word(static_cast<std::uint16_t>(offset += u));
    // The data base: the end of the tables rounded up to the unit.
    std::size_t base = (4 * count + 15 + unit - 1) / unit * unit;
    out.pad_to(base);
    std::size_t end = 0;
    for (std::size_t i = 0; i < count; ++i) {
        out.text(records[i].text);
        out.text(records[i].name);
        end += units[i];
        out.pad_to(base + end * unit);
    }
    out.pad_to(base + (end + 1) * unit);
    return out.bytes();
}

void usage() { fail("usage: korvs_msgwrite [--swap] [--shift N] -o output file.msg..."); }

}  // namespace

int main(int argc, char** argv) {
    bool swap = false;
    unsigned shift = 1;
    std::string output;
    std::vector<std::string> sources;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        if (arg == "--swap") {
            swap = true;
        } else if (arg == "--shift" && i + 1 < argc) {
            shift = static_cast<unsigned>(std::strtoul(argv[++i], nullptr, 10));
            if (shift < 1 || shift > 15) fail("--shift takes 1 to 15");
        } else if (arg == "-o" && i + 1 < argc) {
            output = argv[++i];
        } else if (!arg.empty() && arg[0] == '-') {
            usage();
        } else {
            sources.push_back(arg);
        }
    }
    if (output.empty() || sources.empty()) usage();
    std::vector<unsigned char> bytes = build_file(read_sources(sources), shift, swap);
    std::string temporary = output + ".tmp";
    FILE* f = std::fopen(temporary.c_str(), "wb");
    if (!f) fail("cannot write " + temporary);
    bool written = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    written = (std::fclose(f) == 0) && written;
    if (!written || std::rename(temporary.c_str(), output.c_str()) != 0) {
        std::remove(temporary.c_str());
        fail("cannot write " + output);
    }
    return 0;
}
