#include "core/activation.h"

#include "core/stack.h"

namespace ondrel {

DataElement stack[stack_slots + 1];

Outcome fail(int number, const Activation& activation) {
    wait_for_coprocessors();
    exception(number, activation.site());
    return Outcome::abandon;
}

Outcome full_stack(const Activation& activation) {
    constexpr int deepest_that_goes_on = 1;
    if (activation.level > deepest_that_goes_on) raise(806, activation.site());
    return fail(806, activation);
}

Outcome push(Activation& activation, const DataElement& owned) {
    if (is_full(activation)) {
        Owner refused(owned);
        return full_stack(activation);
    }
    *++activation.sp = owned;
    return Outcome::next;
}

}  // namespace ondrel
