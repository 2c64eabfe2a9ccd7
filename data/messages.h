// The texts of all errors, warnings and notices, by number.
#pragma once

namespace ondrel {

inline constexpr int FAREWELL = 999;

// The message of `number`; a number without a row gives the farewell text.
const char* errors(int number);

}  // namespace ondrel
