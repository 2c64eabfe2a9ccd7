#include "data/messages.h"

#include <algorithm>
#include <array>

namespace ondrel {
namespace {

struct Message {
    int number;
    const char* text;
};

constexpr auto table = std::to_array<Message>({
#define MESSAGE(number, name, text) {number, text},
#define UNUSED(number, text) {number, text},
#include "data/messages.def"
});
static_assert(std::ranges::is_sorted(table, std::ranges::less_equal{}, &Message::number) &&
              std::ranges::adjacent_find(table, {}, &Message::number) == table.end());

}  // namespace

const char* errors(int number) {
    const auto row = std::ranges::lower_bound(table, number, {}, &Message::number);
    return row != table.end() && row->number == number ? row->text : "--- Good bye. (999) ---";
}

}  // namespace ondrel
