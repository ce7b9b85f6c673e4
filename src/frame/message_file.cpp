// The message file's index and records, and the directory search that finds the file.
// Only the two tables stay in memory; a record is read with pread when a message needs
// it, so threads share the descriptor without sharing a file position.
#include "message_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace korvs {
namespace {

constexpr std::uint16_t kMagic = 29432;
constexpr int kHeaderSize = 14;

std::uint16_t swapped(std::uint16_t w) { return static_cast<std::uint16_t>((w >> 8) | (w << 8)); }

// Reads exactly n bytes at offset; a short read is a failure.
bool read_exact(int fd, void* out, std::size_t n, std::int64_t offset) {
    auto* p = static_cast<unsigned char*>(out);
    while (n > 0) {
        ssize_t got = pread(fd, p, n, static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        p += got;
        n -= static_cast<std::size_t>(got);
        offset += got;
    }
    return true;
}

// The words of a table, read in place and turned to this machine's order.
bool read_words(int fd, std::uint16_t* out, std::size_t n, std::int64_t offset, bool swap) {
    if (!read_exact(fd, out, 2 * n, offset)) return false;
    if (swap)
        for (std::size_t i = 0; i < n; ++i)
            out[i] = swapped(out[i]);
    return true;
}

// A record holds a template and a name, each ended by a NUL, within its own extent.
bool holds_two_strings(const char* bytes, std::size_t n) {
    const void* first = std::memchr(bytes, 0, n);
    if (!first) return false;
    std::size_t rest = n - (static_cast<const char*>(first) - bytes) - 1;
    return std::memchr(static_cast<const char*>(first) + 1, 0, rest) != nullptr;
}

std::int64_t record_start(const MessageIndex& ix, std::uint32_t i) {
    return ix.data_base + (static_cast<std::int64_t>(ix.offsets[i]) << ix.shift);
}

std::size_t record_size(const MessageIndex& ix, std::uint32_t i) {
    return static_cast<std::size_t>(ix.offsets[i + 1] - ix.offsets[i]) << ix.shift;
}

// Everything the reader relies on, checked once at the open.
bool tables_hold_together(const MessageIndex& ix, std::int64_t file_size) {
    for (std::uint32_t i = 1; i < ix.count; ++i)
        if (ix.keys[i] <= ix.keys[i - 1]) return false;
    for (std::uint32_t i = 0; i < ix.count; ++i)
        if (ix.offsets[i + 1] <= ix.offsets[i]) return false;
    // With shift 0 the data base is the last byte of the offsets table: a record must
    // start behind the tables.
    std::int64_t tables_end = kHeaderSize + 4 * static_cast<std::int64_t>(ix.count) + 2;
    if (record_start(ix, 0) < tables_end) return false;
    // A record is read with one unit more than its size, and the read must fit the
    // buffer and lie inside the file.
    std::size_t unit = std::size_t{1} << ix.shift;
    for (std::uint32_t i = 0; i < ix.count; ++i)
        if (record_size(ix, i) + unit > ix.buffer_size) return false;
    return record_start(ix, ix.count) + static_cast<std::int64_t>(unit) <= file_size;
}

bool records_hold_together(const MessageIndex& ix) {
    char* buffer = static_cast<char*>(std::malloc(ix.buffer_size));
    if (!buffer) return false;
    bool good = true;
    for (std::uint32_t i = 0; good && i < ix.count; ++i) {
        std::size_t n = record_size(ix, i);
        good = read_exact(ix.fd, buffer, n, record_start(ix, i)) && holds_two_strings(buffer, n);
    }
    std::free(buffer);
    return good;
}

const char* load(int fd, MessageIndex* ix) {
    struct stat st;
    if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) return kFileNotFound;
    std::uint16_t header[kHeaderSize / 2];
    if (!read_exact(fd, header, kHeaderSize, 0)) return kWrongFormat;
    bool swap = false;
    if (header[0] != kMagic) {
        if (swapped(header[0]) != kMagic) return kWrongFormat;
        swap = true;
        for (std::uint16_t& w : header)
            w = swapped(w);
    }
    ix->count = header[2];
    ix->buffer_size = static_cast<std::uint32_t>(header[4]) + header[5] + 2;
    ix->shift = header[6] & 0xFFu;  // only the low byte counts
    // A record takes at least one unit and its read two, within a buffer of at most
    // 2 * 65535 + 2 bytes: no larger unit can be consistent.
    if (ix->shift > 16) return kWrongFormat;
    std::int64_t size = st.st_size;
    std::int64_t count = ix->count;
    if (kHeaderSize + 4 * count + 2 > size) return kWrongFormat;
    ix->keys = static_cast<std::uint16_t*>(std::malloc(2 * count + 2));
    ix->offsets = static_cast<std::uint16_t*>(std::malloc(2 * count + 2));
    if (!ix->keys || !ix->offsets) return kNoSpace;
    if (!read_words(fd, ix->keys, count, kHeaderSize, swap) ||
        !read_words(fd, ix->offsets, count + 1, kHeaderSize + 2 * count, swap))
        return kWrongFormat;
    // The data base: 4c + 15 rounded up to the unit (itself with shift 0).
    std::int64_t unit = std::int64_t{1} << ix->shift;
    ix->data_base = (4 * count + 15 + unit - 1) / unit * unit;
    ix->fd = fd;
    if (!tables_hold_together(*ix, size) || !records_hold_together(*ix)) return kWrongFormat;
    return nullptr;
}

}  // namespace

const char* load_index(int fd, MessageIndex* index) {
    *index = MessageIndex{};
    const char* reason = load(fd, index);
    if (reason) release_index(index);
    return reason;
}

void release_index(MessageIndex* index) {
    std::free(index->keys);
    std::free(index->offsets);
    *index = MessageIndex{};
}

int find_record(const MessageIndex& index, long code) {
    // The remainder keeps the code's sign; the cut to 16 bits wraps a negative one.
    auto key = static_cast<std::uint16_t>(code % 100000);
    std::uint32_t low = 0, high = index.count;
    while (low < high) {
        std::uint32_t mid = low + (high - low) / 2;
        if (index.keys[mid] < key)
            low = mid + 1;
        else
            high = mid;
    }
    return (low < index.count && index.keys[low] == key) ? static_cast<int>(low) : -1;
}

bool read_record(const MessageIndex& index, int i, char* buffer) {
    if (i < 0 || static_cast<std::uint32_t>(i) >= index.count) return false;
    auto r = static_cast<std::uint32_t>(i);
    std::size_t n = record_size(index, r);
    // One unit more than the record: the read the file's layout is made for.
    if (!read_exact(index.fd, buffer, n + (std::size_t{1} << index.shift), record_start(index, r)))
        return false;
    // The file was checked at the open; it may have changed under us since.
    return holds_two_strings(buffer, n);
}

bool expand_search_path(const char* path, char* out, std::size_t size) {
    std::size_t used = 0;
    bool complete = true;
    out[0] = '\0';
    for (const char* element = path; complete;) {
        const char* end = std::strchr(element, ';');
        std::size_t length = end ? static_cast<std::size_t>(end - element) : std::strlen(element);
        const char* value = element;
        std::size_t value_length = length;
        if (length > 0 && element[0] == '$') {
            char name[256];
            value = nullptr;
            if (length - 1 < sizeof name) {
                std::memcpy(name, element + 1, length - 1);
                name[length - 1] = '\0';
                value = std::getenv(name);
            }
            value_length = value ? std::strlen(value) : 0;
        }
        if (value) {
            // Whole elements only: a directory cut short would search somewhere else.
            std::size_t separator = used > 0 ? 1 : 0;
            if (used + separator + value_length + 1 > size) {
                complete = false;
                break;
            }
            if (separator) out[used++] = ';';
            std::memcpy(out + used, value, value_length);
            used += value_length;
            out[used] = '\0';
        }
        if (!end) break;
        element = end + 1;
    }
    return complete;
}

bool find_on_path(const char* list, const char* file, char* out, std::size_t size) {
    std::size_t file_length = std::strlen(file);
    for (const char* dir = list; *dir;) {
        const char* end = std::strchr(dir, ';');
        std::size_t length = end ? static_cast<std::size_t>(end - dir) : std::strlen(dir);
        bool slash = length > 0 && dir[length - 1] != '/';
        if (length > 0 && length + slash + file_length + 1 <= size) {
            std::memcpy(out, dir, length);
            if (slash) out[length] = '/';
            std::memcpy(out + length + slash, file, file_length + 1);
            struct stat st;
            if (stat(out, &st) == 0 && S_ISREG(st.st_mode)) return true;
        }
        if (!end) break;
        dir = end + 1;
    }
    out[0] = '\0';
    return false;
}

}  // namespace korvs
