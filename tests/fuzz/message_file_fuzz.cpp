// Fuzz target: the message-file reader against arbitrary bytes. The library reads the
// file from a search path that starts at the current directory, so no content may make
// it read or write out of bounds; a file it accepts must give every record back whole.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "frame/message_file.hpp"

namespace {

[[noreturn]] void broken(const char* what) {
    std::fprintf(stderr, "message file reader: %s\n", what);
    std::abort();
}

void check_accepted_file(const korvs::MessageIndex& index) {
    char* buffer = static_cast<char*>(std::malloc(index.buffer_size));
    if (!buffer) return;
    for (std::uint32_t i = 0; i < index.count; ++i) {
        if (korvs::find_record(index, index.keys[i]) != static_cast<int>(i))
            broken("a key does not find its record");
        if (!korvs::read_record(index, static_cast<int>(i), buffer))
            broken("an accepted record cannot be read");
        std::size_t text = std::strlen(buffer);
        std::size_t name = std::strlen(buffer + text + 1);
        if (text + name + 2 > index.buffer_size) broken("a record runs past the buffer");
    }
    for (long code : {0L, 1L, 132L, 65535L, 99999L, 100000L, -1L, -100001L}) {
        int i = korvs::find_record(index, code);
        if (i >= 0 && index.keys[i] != static_cast<std::uint16_t>(code % 100000))
            broken("a code finds a wrong key");
    }
    std::free(buffer);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static int fd = memfd_create("korvs_e.bin", 0);
    if (fd < 0 || ftruncate(fd, 0) != 0) return 0;
    for (std::size_t done = 0; done < size;) {
        ssize_t n = pwrite(fd, data + done, size - done, static_cast<off_t>(done));
        if (n <= 0) return 0;
        done += static_cast<std::size_t>(n);
    }
    korvs::MessageIndex index;
    if (korvs::load_index(fd, &index) == nullptr) {
        check_accepted_file(index);
        korvs::release_index(&index);
    } else if (index.keys || index.offsets || index.count) {
        broken("a refused file leaves a half-built index");
    }
    return 0;
}
