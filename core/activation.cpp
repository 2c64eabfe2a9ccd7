#include "core/activation.h"

#include "core/stack.h"

namespace ondrel {

DataElement stack[stack_slots + 1];
std::uint64_t slot_owners[stack_slots + 1];

Outcome fail(int number, const Activation& activation) {
    wait_for_coprocessors();
    exception(number, activation.site());
    return Outcome::abandon;
}

Outcome push(Activation& activation, const DataElement& owned) {
    if (is_full(activation)) {
        Owner refused(owned);
        return fail(message::stack_full, activation);
    }
    *++activation.sp = owned;
    return Outcome::next;
}

}  // namespace ondrel
