// Text that grows to any size. A long one is never copied to make room: the platform's reallocation moves its pages. So
// what writes gigabytes stays open to an interrupt.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <string_view>
#include <utility>

namespace ondrel {

class LongText {
public:
    LongText() = default;
    LongText(LongText&& other) noexcept { swap(other); }
    LongText& operator=(LongText&& other) noexcept {
        swap(other);
        return *this;
    }
    ~LongText() { std::free(start); }

    std::size_t size() const { return length; }
    operator std::string_view() const { return {start, length}; }
    friend bool operator==(const LongText& one, const LongText& other) {
        return std::string_view(one) == std::string_view(other);
    }

    // These throw std::bad_alloc.
    LongText& append(std::string_view piece) {
        std::ranges::copy(piece, grown_by(piece.size()));
        return *this;
    }
    void append(std::size_t n, char byte) { std::fill_n(grown_by(n), n, byte); }
    void push_back(char byte) { *grown_by(1) = byte; }
    void insert(std::size_t at, std::string_view piece) {
        append(piece);
        std::rotate(start + at, start + length - piece.size(), start + length);
    }
    void clear() { length = 0; }

private:
    char* start = nullptr;
    std::size_t length = 0, room = 0;

    void swap(LongText& other) {
        std::swap(start, other.start);
        std::swap(length, other.length);
        std::swap(room, other.room);
    }

    // Where the next n bytes go.
    char* grown_by(std::size_t n) {
        if (n > room - length) [[unlikely]] {
            constexpr std::size_t least = 64;
            const std::size_t wanted = std::max({least, 2 * room, length + n});
            auto* const moved = static_cast<char*>(std::realloc(start, wanted));
            if (moved == nullptr) throw std::bad_alloc();
            start = moved;
            room = wanted;
        }
        length += n;
        return start + length - n;
    }
};

}  // namespace ondrel
