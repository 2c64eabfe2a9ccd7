#include "core/powers.h"

#include <utility>

#include "verbs/scalar/dyadic.h"

namespace ondrel {
namespace {

enum class Place { below, above };

// The constant is taken off again where the verb refuses the operand.
struct Constant {
    Activation& activation;
    Place place;
    bool used = false;

    ~Constant() {
        if (used) return;
        if (place == Place::below) std::swap(activation.sp[0], activation.sp[-1]);
        dereferencepoint(*activation.sp--);
    }
};

Outcome with_constant(Activation& activation, double value, Place place, ScalarVerb* verb) {
    wait_for_coprocessors();  // which may put the stack back below the constant
    DataElement item{};
    item.head = make_head(tag::real, form::number);
    item.real = value;
    if (const Outcome outcome = push(activation, make_scalar(item)); outcome != Outcome::next) return outcome;
    if (place == Place::below) std::swap(activation.sp[0], activation.sp[-1]);
    Constant constant{activation, place};
    verb(activation.sp, activation.cell);
    wait_for_coprocessors();
    constant.used = true;
    return Outcome::next;
}

}  // namespace

Outcome pow2(Activation& activation) { return with_constant(activation, 2, Place::below, power); }
Outcome powe(Activation& activation) { return with_constant(activation, 2.718281828459045, Place::below, power); }
Outcome pow10(Activation& activation) { return with_constant(activation, 10, Place::below, power); }
Outcome ld(Activation& activation) { return with_constant(activation, 2, Place::above, logarithm); }
Outcome log10(Activation& activation) { return with_constant(activation, 10, Place::above, logarithm); }

}  // namespace ondrel
