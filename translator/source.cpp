#include "translator/source.h"

#include <string>

namespace ondrel {
namespace {

std::FILE* yyin;
const char* string;
std::string waiting;  // looked at; the first `taken` of them are consumed
std::size_t taken;
bool ended;

int next_byte() {
    if (yyin != nullptr) return getc_unlocked(yyin);
    const int byte = static_cast<signed char>(*string);
    if (byte != 0 && byte != -1) ++string;
    return byte < -1 ? byte + 256 : byte;
}

}  // namespace

void open_source(std::FILE* stream, const char* text) {
    yyin = stream;
    string = text;
    waiting.clear();
    taken = 0;
    ended = false;
}

int peek(std::size_t at) {
    while (taken + at >= waiting.size()) {
        const int byte = ended ? 0 : next_byte();
        if (byte <= 0) {
            ended = true;
            return -1;
        }
        waiting.push_back(static_cast<char>(byte));
    }
    return static_cast<unsigned char>(waiting[taken + at]);
}

std::string_view ahead(std::size_t length) { return std::string_view(waiting).substr(taken, length); }

void consume(std::size_t length) {
    taken += length;
    if (taken < waiting.size()) return;
    waiting.clear();
    taken = 0;
}

const char* text_position() { return string; }

void close_source() { waiting = {}; }

}  // namespace ondrel
