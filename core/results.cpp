#include "core/results.h"

#include <algorithm>
#include <string_view>

#include "core/calls.h"
#include "translator/value_key.h"

namespace ondrel {
namespace {

// The function's own part of the key, made once and kept by the last cell of its stream.
std::string_view key_of(const DataElement& function, const DataElement* frame_base) {
    DataElement& last = static_cast<DataElement*>(function.data_pointer)[function.elements];
    if (last.text == nullptr) {
        LongText key;
        add_key(key, function, frame_base);
        last.text = stringdup(key);
    }
    return last.text;
}

LongText memory_key(DataElement* first, const DataElement& function, const DataElement* frame_base) {
    LongText key;
    for (DataElement* argument = first; argument < &function; ++argument) {
        argument->type &= ~ISPROBABLE;
        add_key(key, *argument, frame_base);
    }
    key.append(key_of(function, frame_base));
    return key;
}

void keep(Table* memory, std::string_view key, const DataElement& value) {
    Entry* const entry = hashtab(memory, key);
    Owner old(entry->value);
    entry->value = value;
    entry->is_memory = true;
    referencepoint(value);
}

void forget_result(Table* memory, std::string_view key) {
    if (Entry* const entry = checkhash(memory, key)) forgethash(entry);
}

// `recall` takes what memory has; without it the function runs in any case.
Outcome remembered(Activation& activation, bool recall) {
    const DataElement& function = *activation.sp;
    if (function.rank != kind::FUNCTION) return fail(message::no_function_for_result, activation);
    auto* const header = static_cast<DataElement*>(function.data_pointer);
    if ((header->type & (INOUT | ISPROBABLE)) || function.depth < 0) return call_top(activation);

    DataElement* const first = activation.sp - function.depth;
    if (first < activation.argument_floor) {
        dereferencepoint(*activation.sp--);
        return fail(message::too_few_arguments, activation);
    }
    Table* const memory = variables.table;
    const LongText key = memory_key(first, function, activation.frame_base);
    if (const Entry* const entry = recall ? checkhash(memory, key) : nullptr;
        entry != nullptr && has_value(entry->value)) {
        const DataElement value = entry->value;
        referencepoint(value);
        while (activation.sp >= first) dereferencepoint(*activation.sp--);
        *++activation.sp = value;
        return Outcome::next;
    }

    const Owner held(*activation.sp--);
    Entered body(activation, header, {.own_names = false});
    const Outcome outcome = body();
    if (outcome != Outcome::next || !body.complete()) return outcome;
    const std::ptrdiff_t results = activation.sp - first + 1;
    if (results > 1) header->type |= GLOBALCHANGE;
    if (results == 1 && (activation.sp->type & ISPROBABLE)) header->type |= ISPROBABLE;
    if (results == 1 && !(header->type & ISPROBABLE))
        keep(memory, key, *activation.sp);
    else
        forget_result(memory, key);
    return Outcome::next;
}

}  // namespace

Outcome result(Activation& activation) { return remembered(activation, true); }
Outcome reevaluate(Activation& activation) { return remembered(activation, false); }

}  // namespace ondrel
