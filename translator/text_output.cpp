#include "translator/text_output.h"

#include "data/errors.h"

namespace ondrel {

void TextOutput::count_items(std::uint32_t n) {
    items += n;
    if (items < items_per_flush) return;
    items = 0;
    flush();
    heed_attention();
}

void put_binary(TextOutput& out, std::uint64_t bits, int digits) {
    out.put("0#");
    while (digits-- > 0) out.put((bits >> digits & 1) != 0 ? '1' : '0');
}

void put_shape(TextOutput& out, const DataElement& value) {
    out.put(" [");
    for (std::int32_t k = 0; k < value.rank; ++k) {
        out.put(' ');
        put_number(out, value.shape_pointer[k]);
    }
    out.put(" ]");
}

}  // namespace ondrel
