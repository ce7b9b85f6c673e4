// Test support: the message source (messages/*.msg) read on its own, so that what the
// library and the writer make of it can be held against it; a scratch directory; and
// a run of the message-file writer.
#pragma once

#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace korvs_test {

struct MessageRecord {
    long code;
    int type;
    std::string name;
    std::string text;
};

// Every record of every .msg file in dir: "<code> <type> <NAME> <template>".
inline std::vector<MessageRecord> read_message_source(const std::string& dir = KORVS_SOURCE_DIR "/messages") {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(dir))
        if (entry.path().extension() == ".msg") files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    std::vector<MessageRecord> records;
    for (const auto& file : files) {
        std::ifstream in(file);
        std::string line;
        while (std::getline(in, line)) {
            std::istringstream fields(line);
            MessageRecord r{};
            if (line.empty() || line[0] == '#' || !(fields >> r.code >> r.type >> r.name)) continue;
            std::getline(fields >> std::ws, r.text);
            while (!r.text.empty() && (r.text.back() == ' ' || r.text.back() == '\r'))
                r.text.pop_back();
            records.push_back(r);
        }
    }
    return records;
}

// The record of a code in the source; an empty record when there is none.
inline const MessageRecord& source_record(long code) {
    static const std::vector<MessageRecord> records = read_message_source();
    for (const MessageRecord& r : records)
        if (r.code == code) return r;
    static const MessageRecord none{};
    return none;
}

// A directory of its own under the system's temporary directory, removed at the end.
class ScratchDir {
public:
    ScratchDir() {
        std::string pattern = (std::filesystem::temp_directory_path() / "korvs_test_XXXXXX").string();
        path_ = ::mkdtemp(pattern.data()) ? pattern : std::string();
    }
    ~ScratchDir() {
        std::error_code ignored;
        if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
    }
    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

// Runs the writer on the given sources (all of messages/ by default); its exit status.
inline int run_writer(const std::string& output, const std::string& options = "",
                      const std::string& sources = KORVS_SOURCE_DIR "/messages/*.msg") {
    std::string command =
        std::string(KORVS_MSGWRITE) + " " + options + " -o '" + output + "' " + sources + " 2>/dev/null";
    int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

inline std::vector<unsigned char> read_bytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<unsigned char>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void write_bytes(const std::string& path, const std::vector<unsigned char>& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace korvs_test
