#include "verbs/scalar/loops.h"

#include "verbs/scalar/clones.h"

namespace ondrel {

std::atomic<bool> chance_decided = false;

VECTOR_CLONES const std::byte* widen(const std::byte* bytes, std::uint64_t one, std::uint64_t* words, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) words[i] = -static_cast<std::uint64_t>(bytes[i]) & one;
    return reinterpret_cast<const std::byte*>(words);
}

VECTOR_CLONES std::size_t narrow(const std::int64_t* words, std::byte* bytes, std::size_t n) {
    std::uint64_t seen = 0;
    for (std::size_t i = 0; i < n; ++i) {
        bytes[i] = static_cast<std::byte>(words[i]);
        seen |= static_cast<std::uint64_t>(words[i]);
    }
    if (seen <= 1) return n;
    const auto is_boolean = [](std::int64_t word) { return word == 0 || word == 1; };
    return static_cast<std::size_t>(std::find_if_not(words, words + n, is_boolean) - words);
}

}  // namespace ondrel
