#include "translator/source.h"

#include <string>

namespace ondrel {

std::string_view waiting;

namespace {

std::FILE* yyin;
const char* string;
std::string buffer;  // `waiting` is its end
bool ended;

// 0 or less at the end. Only in memory does \xFF end a text.
int next_byte() {
    if (yyin != nullptr) return getc_unlocked(yyin);
    const auto byte = static_cast<unsigned char>(*string);
    if (byte == 0 || byte == 0xFF) return 0;
    ++string;
    return byte;
}

}  // namespace

void open_source(std::FILE* stream, const char* text) {
    yyin = stream;
    string = text;
    buffer.clear();
    waiting = {};
    ended = false;
}

int peek_further(std::size_t at) {
    if (waiting.empty()) buffer.clear();
    const std::size_t consumed = buffer.size() - waiting.size();
    while (buffer.size() - consumed <= at) {
        const int byte = ended ? 0 : next_byte();
        if (byte <= 0) {
            ended = true;
            return -1;
        }
        buffer.push_back(static_cast<char>(byte));
        waiting = std::string_view(buffer).substr(consumed);
    }
    return static_cast<unsigned char>(waiting[at]);
}

const char* text_position() { return string; }

void close_source() {
    waiting = {};
    buffer = {};
}

}  // namespace ondrel
