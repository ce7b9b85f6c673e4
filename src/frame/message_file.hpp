// The binary message file korvs_e.bin: its index (header, keys, offsets), the reading
// of one record, and the search path that finds the file. The file comes from a path
// that starts at the current directory, so everything read from it is checked before
// it is trusted: a file that does not hold together is refused as a whole.
#pragma once

#include <cstddef>
#include <cstdint>

namespace korvs {

// Reasons of a failed open, as the one report prints them.
inline constexpr char kFileNotFound[] = "File not found";
inline constexpr char kWrongFormat[] = "File is not in korverr.bin format";
inline constexpr char kNoSpace[] = "Out-of-space";

struct MessageIndex {
    int fd = -1;
    std::uint32_t count = 0;           // records
    std::uint32_t buffer_size = 0;     // longest text + longest name + 2: the largest read
    unsigned shift = 0;                // records are placed in units of 2^shift bytes
    std::int64_t data_base = 0;        // file offset of unit 0 of the records
    std::uint16_t* keys = nullptr;     // count keys, strictly ascending
    std::uint16_t* offsets = nullptr;  // count + 1 offsets, strictly ascending
};

// Reads the header and tables of the open file fd and checks that the whole file holds
// together: the count fits the size, keys and offsets ascend, every record lies inside
// the file with the one unit that its read takes beyond it, fits the buffer and holds
// its two NULs. Returns null and a ready index, or the reason and an empty index.
const char* load_index(int fd, MessageIndex* index);
void release_index(MessageIndex* index);

// The record of a code (keyed by the code modulo 100000, as 16 bits), or -1.
int find_record(const MessageIndex& index, long code);

// Reads record i into buffer (index.buffer_size bytes): the template, NUL, the name,
// NUL. False when the read comes up short or the bytes read are not a record.
bool read_record(const MessageIndex& index, int i, char* buffer);

// The directory list of a search path: elements separated by ";", an element "$NAME"
// replaced by the variable's value or dropped when it is unset. Returns false, with out
// holding what fitted, when the list is longer than size - 1.
bool expand_search_path(const char* path, char* out, std::size_t size);

// The first regular file named `file` in the directories of `list`, in out.
bool find_on_path(const char* list, const char* file, char* out, std::size_t size);

}  // namespace korvs
