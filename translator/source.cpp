#include "translator/source.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <string>

#include "data/errors.h"
#include "translator/bytes.h"

namespace ondrel {

std::string_view waiting;
bool reads_lines;

namespace {

std::FILE* yyin;
const char* string;
std::string buffer;  // of a stream's bytes; `waiting` ends where `used` tells
std::size_t used;
bool ended;

// Keeps the signals of the interrupt key back.
struct Held {
    sigset_t before;
    Held() {
        sigset_t keys;
        sigemptyset(&keys);
        for (const int key : {SIGINT, SIGQUIT}) sigaddset(&keys, key);
        pthread_sigmask(SIG_BLOCK, &keys, &before);
    }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    ~Held() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }
};

// Until the stream, of which no byte is left in memory, can be read. An interrupt comes between two looks at it, or
// wakes us.
void await_bytes(std::FILE* stream) {
    pollfd watched{fileno(stream), POLLIN, 0};
    if (watched.fd < 0 || std::feof(stream)) return;
    const Held held;
    do heed_attention();
    while (ppoll(&watched, 1, nullptr, &held.before) < 0 && errno == EINTR);
}

// 0 at the end: only in memory does \xFF end a text.
int next_in_memory() {
    const auto byte = static_cast<unsigned char>(*string);
    if (byte == 0 || byte == 0xFF) return 0;
    ++string;
    return byte;
}

// Reads until `count` bytes wait, and on behind a run of digits if that is asked for. Fewer wait at the end of the
// input. A text in memory stays where it is.
void read_until(std::size_t count, bool behind_digits) {
    std::size_t had = waiting.size(), end = had == 0 ? 0 : used;
    const auto read = [&](const auto& next, const auto& keep) {
        for (int byte = 0; had < count || (behind_digits && is_digit(byte)); ++had) {
            byte = next();
            if (byte <= 0) {
                ended = true;
                break;
            }
            keep(byte);
        }
    };
    if (yyin == nullptr) {
        heed_attention();
        read(next_in_memory, [](int) {});
        waiting = {string - had, had};
        return;
    }
    char* bytes = buffer.data();
    std::size_t room = buffer.size();
    read([from = yyin] { return next_byte(from); },
         [&](int byte) {
             if (end == room) [[unlikely]] {
                 buffer.resize(std::max<std::size_t>(2 * end, 16384));
                 bytes = buffer.data();
                 room = buffer.size();
             }
             bytes[end++] = static_cast<char>(byte);
         });
    used = end;
    waiting = {bytes + end - had, had};
}

}  // namespace

int next_byte(std::FILE* stream) {
    if (stream->_IO_read_ptr == stream->_IO_read_end) await_bytes(stream);
    return getc_unlocked(stream);
}

void open_source(std::FILE* stream, const char* text, bool by_lines) {
    reads_lines = by_lines;
    yyin = stream;
    string = text;
    waiting = {};
    ended = false;
}

int peek_further(std::size_t at, bool behind_digits) {
    if (!ended) read_until(at + 1, behind_digits);
    return at < waiting.size() ? static_cast<unsigned char>(waiting[at]) : -1;
}

const char* text_position() { return string; }

void close_source() {
    waiting = {};
    buffer = {};
    used = 0;
}

}  // namespace ondrel
