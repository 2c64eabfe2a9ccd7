#include "verbs/scalar/nest.h"

namespace ondrel {

DataElement result_record(const DataElement& giver, void* data, std::uint32_t probable) {
    DataElement record = giver;
    record.type = (giver.type & RANK_BITS) | probable;
    record.data_pointer = data;
    reference(record.shape_pointer);
    rebuild_kinds(record);
    return record;
}

DataElement value_of_item(const DataElement& item) {
    if (item.tag != tag::subarray) {
        Owner scalar(make_scalar(DataElement{}));
        *items_of(scalar.record) = own_item(item);
        scalar.record.type = ISSCALAR | kind_bits(item.tag);
        return scalar.take();
    }
    referencepoint(*item.nested);
    return *item.nested;
}

}  // namespace ondrel
