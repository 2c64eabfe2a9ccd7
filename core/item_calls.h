// One function, run for each item of a value that is made: what EACH and MASK share.
#pragma once

#include "core/calls.h"
#include "data/growing.h"

namespace ondrel {

class ItemCalls {
public:
    // Of this function, of one argument, for n items, at least one. What an error leaves above the operands goes with
    // the calls.
    ItemCalls(Activation& outer, const DataElement& function, std::uint32_t n);

    // Runs the function on item i of the block, a nested value as it is, or on a value, which it takes over, above what
    // is on the stack. What it makes of it is the next item: that of a scalar, any other result as a nested value,
    // nothing as an empty vector; of several results the top one counts. 806, or 994 where the result can be no item;
    // otherwise `next`.
    Outcome on_item(const void* block, std::size_t i);
    Outcome on_value(Owner& value);

    // After the last call: the value's items give way to those made.
    void put_into(DataElement& value);

private:
    Outcome on_top();

    Activation& activation;
    StackAsFound operands;  // outlives the body
    Entered body;
    GrowingItems made;
    bool is_first = true;
    std::uint32_t probable = 0;
};

}  // namespace ondrel
