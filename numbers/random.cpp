#include "numbers/random.h"

namespace ondrel {

constinit thread_local std::int64_t prngs_seed = 1;

}  // namespace ondrel
