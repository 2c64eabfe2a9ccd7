#include "translator/source.h"

#include <algorithm>
#include <string>

namespace ondrel {

std::string_view waiting;

namespace {

std::FILE* yyin;
const char* string;
std::string buffer;  // of a stream's bytes; `waiting` ends where `used` tells
std::size_t used;
bool ended;

bool is_digit(int byte) { return byte >= '0' && byte <= '9'; }

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
        read(next_in_memory, [](int) {});
        waiting = {string - had, had};
        return;
    }
    char* bytes = buffer.data();
    std::size_t room = buffer.size();
    read([from = yyin] { return getc_unlocked(from); },
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

void open_source(std::FILE* stream, const char* text) {
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
