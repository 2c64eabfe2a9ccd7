#include "numbers/random.h"

namespace ondrel {

std::int64_t prngs_seed = 1;

}  // namespace ondrel
