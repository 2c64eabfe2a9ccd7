#include "core/activation.h"

#include "core/stack.h"

namespace ondrel {

DataElement stack[stack_slots + 1];

Activation inside(const Activation& outer, DataElement* code, std::uint32_t cells) {
    return {.cell = code,
            .sp = outer.sp,
            .argument_floor = outer.argument_floor,
            .frame_base = outer.frame_base,
            .tables = outer.tables,
            .code = code,
            .cells = cells,
            .locals = 0,
            .decision = -1,
            .level = outer.level + 1,
            .header = outer.header,
            .pending_condition = nullptr,
            .contexts = nullptr};
}

Outcome fail(int number, const Activation& activation) {
    exception(number, activation.site());
    return Outcome::abandon;
}

Outcome full_stack(const Activation& activation) {
    constexpr int deepest_that_goes_on = 1;
    if (activation.level > deepest_that_goes_on) raise(806, activation.site());
    return fail(806, activation);
}

bool is_full(const Activation& activation) { return activation.sp > stacktop; }

Outcome push(Activation& activation, const DataElement& owned) {
    if (is_full(activation)) {
        Owner refused(owned);
        return full_stack(activation);
    }
    *++activation.sp = owned;
    return Outcome::next;
}

}  // namespace ondrel
