// What grows to any size. A long one is never copied to make room: the platform's reallocation moves its pages. So what
// takes gigabytes stays open to an interrupt.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <string_view>
#include <type_traits>
#include <utility>

namespace ondrel {

// Of plain values. What makes it longer throws std::bad_alloc.
template <class Value>
class LongRun {
    static_assert(std::is_trivially_copyable_v<Value>);

public:
    LongRun() = default;
    LongRun(LongRun&& other) noexcept { swap(other); }
    LongRun& operator=(LongRun&& other) noexcept {
        swap(other);
        return *this;
    }
    ~LongRun() { std::free(start); }

    std::size_t size() const { return length; }
    bool empty() const { return length == 0; }
    const Value* data() const { return start; }
    const Value* begin() const { return start; }
    const Value* end() const { return start + length; }

    void push_back(Value value) { *grown_by(1) = value; }
    void clear() { length = 0; }

protected:
    // Where the next n values go.
    Value* grown_by(std::size_t n) {
        if (n > room - length) [[unlikely]]
            make_room(std::max({least, 2 * room, length + n}));
        length += n;
        return start + length - n;
    }

    Value* start = nullptr;
    std::size_t length = 0;

private:
    static constexpr std::size_t least = 64;
    std::size_t room = 0;

    void swap(LongRun& other) {
        std::swap(start, other.start);
        std::swap(length, other.length);
        std::swap(room, other.room);
    }
    void make_room(std::size_t wanted) {
        auto* const moved = static_cast<Value*>(std::realloc(start, wanted * sizeof(Value)));
        if (moved == nullptr) throw std::bad_alloc();
        start = moved;
        room = wanted;
    }
};

class LongText : public LongRun<char> {
public:
    operator std::string_view() const { return length == 0 ? std::string_view("") : std::string_view(start, length); }
    friend bool operator==(const LongText& one, const LongText& other) {
        return std::string_view(one) == std::string_view(other);
    }

    LongText& append(std::string_view piece) {
        std::ranges::copy(piece, grown_by(piece.size()));
        return *this;
    }
    void append(std::size_t n, char byte) { std::fill_n(grown_by(n), n, byte); }
    void insert(std::size_t at, std::string_view piece) {
        append(piece);
        std::rotate(start + at, start + length - piece.size(), start + length);
    }
};

}  // namespace ondrel
