// The texts of all errors, warnings and notices, by number.
#pragma once

namespace ondrel {

// The numbers that something raises, by name.
namespace message {
enum Number : int {
#define MESSAGE(number, name, text) name = number,
#include "data/messages.def"
    farewell = 999,
};
}  // namespace message

// The message of `number`; a number without a row gives the farewell text.
const char* errors(int number);

}  // namespace ondrel
