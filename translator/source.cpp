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

// 0 or less at the end. Only in memory does \xFF end a text.
int next_byte() {
    if (yyin != nullptr) return getc_unlocked(yyin);
    const auto byte = static_cast<unsigned char>(*string);
    if (byte == 0 || byte == 0xFF) return 0;
    ++string;
    return byte;
}

// Makes the byte just read the last one of `waiting`. A text in memory stays where it is.
void keep(int byte) {
    const std::size_t count = waiting.size() + 1;
    if (yyin == nullptr) {
        waiting = {string - count, count};
        return;
    }
    if (count == 1) used = 0;
    if (used == buffer.size()) buffer.resize(std::max<std::size_t>(2 * used, 16384));
    buffer[used++] = static_cast<char>(byte);
    waiting = {buffer.data() + used - count, count};
}

}  // namespace

void open_source(std::FILE* stream, const char* text) {
    yyin = stream;
    string = text;
    waiting = {};
    ended = false;
}

int peek_further(std::size_t at) {
    while (waiting.size() <= at) {
        const int byte = ended ? 0 : next_byte();
        if (byte <= 0) {
            ended = true;
            return -1;
        }
        keep(byte);
    }
    return static_cast<unsigned char>(waiting[at]);
}

const char* text_position() { return string; }

void close_source() {
    waiting = {};
    buffer = {};
    used = 0;
}

}  // namespace ondrel
