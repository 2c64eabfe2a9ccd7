#include "core/file_verbs.h"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <new>
#include <optional>
#include <ranges>
#include <span>
#include <utility>

#include "core/calls.h"
#include "core/timing.h"
#include "data/texts.h"
#include "data/walks.h"
#include "files/streams.h"
#include "parallel/pool.h"
#include "translator/listing.h"
#include "translator/literal_text.h"
#include "translator/printing.h"
#include "translator/sentences.h"

namespace ondrel {
namespace {

// What a verb says of its name: it is no text, no vector; the file cannot be opened, written or closed.
struct Numbers {
    int no_text, no_vector, no_file;
};
using namespace message;
constexpr Numbers of_read{read_name_not_characters, read_name_structured, cannot_read},
    of_write{write_name_not_characters, write_name_structured, cannot_write},
    of_others{file_name_not_characters, file_name_structured, cannot_open},
    of_save{save_name_not_characters, save_name_structured, cannot_save},
    of_load{load_name_not_characters, load_name_structured, cannot_read},
    of_dumpstack{dumpstack_name_not_characters, dumpstack_name_structured, cannot_dump},
    of_remember{remember_name_not_characters, remember_name_structured, cannot_remember};

[[noreturn]] void refuse(const Activation& activation, int number) { raise(number, activation.site()); }

// The text that the value is.
std::string name_in(const Activation& activation, const DataElement& value, const Numbers& numbers) {
    if (!is_text(value)) refuse(activation, numbers.no_text);
    if (value.rank > 1) refuse(activation, numbers.no_vector);
    return characters_of(value);
}

bool has_empty_name(const Activation& activation) {
    return activation.sp->rank >= 0 && (activation.sp->type & ISEMPTY) != 0;
}

[[noreturn]] void refuse_to_open(const Activation& activation, const Numbers& numbers) {
    refuse(activation, errno == EXDEV ? message::file_refused : numbers.no_file);
}

void drop_name(Activation& activation) { dereferencepoint(*activation.sp--); }

// ---- reading

// The file that the name on top says; the name is still there.
Stream file_to_read(const Activation& activation, const Numbers& numbers) {
    Stream stream = open_to_read(name_in(activation, *activation.sp, numbers));
    if (!stream) refuse_to_open(activation, numbers);
    return stream;
}

// A stream that could not be read to its end had more in it.
void check_end(const Activation& activation, std::FILE* stream, const Numbers& numbers) {
    if (std::ferror(stream)) refuse(activation, numbers.no_file);
}

// ---- workspaces

bool is_loading = false;

// A sentence of a workspace that fails costs no more than itself, also if it fails in a verb.
class Loading {
public:
    Loading(Activation& of_run, std::FILE* of_file) : activation(of_run), stream(of_file) {}
    Loading(const Loading&) = delete;
    Loading& operator=(const Loading&) = delete;
    ~Loading() { is_loading = is_within; }

    void operator()() {
        try {
            while (run_one()) {
            }
        } catch (...) {
            unwinds = true;
            tell();
            throw;
        }
        if (!is_whole || !std::feof(stream)) tell();
        if (unwinds) throw Unwind{};
    }

private:
    bool run_one() {
        Sentence sentence(activation.tables, names_of_function(activation), stream, nullptr);
        if (sentence.ends_input()) return false;
        is_whole = is_whole && sentence.was_translated();
        try {
            if (sentence.runs() && run_inside(activation, sentence) == Outcome::abandon) is_whole = false;
        } catch (const Interrupted&) {
            throw;
        } catch (const Unwind&) {
            give_up();
        } catch (const std::bad_alloc&) {
            exception(message::out_of_storage);
            give_up();
        }
        return true;
    }
    // What the sentence had made has been given back, so that nothing is half done.
    void give_up() {
        forget_hand_off();
        A_Problem = PrintOut = is_whole = false;
        unwinds = true;
    }
    // What the run of a function has on the stack does not outlast an error.
    void tell() const {
        std::size_t names = 0;
        for_each_entry(activation.tables->table, [&names](const Entry& entry) { names += has_value(entry.value); });
        const auto elements = unwinds && activation.level > 0 ? 0 : activation.height();
        std::fflush(stdout);
        std::fprintf(stderr, "\nThe file was not loaded whole: %zu names and %td stack elements came back.\n", names,
                     elements);
    }

    Activation& activation;
    std::FILE* const stream;
    const bool is_within = std::exchange(is_loading, true);
    bool is_whole = true, unwinds = false;
};

// ---- writing

// Runs `write(stream)` on a file of the name on top, and drops the name.
Outcome write_to_file(Activation& activation, const Numbers& numbers, Output::Way way,
                      const std::function<void(std::FILE*)>& write) {
    Output output(name_in(activation, *activation.sp, numbers), way);
    if (!output.is_open()) refuse_to_open(activation, numbers);
    write(output.stream());
    if (!output.commit()) refuse(activation, numbers.no_file);
    drop_name(activation);
    return Outcome::next;
}

// A text for people, or one from which the value comes back; what comes behind it in the file is kept apart.
void write_value(std::FILE* stream, const Activation& activation, Output::Way way, bool readable) {
    DataElement& value = activation.sp[-1];
    PrintOut = true;
    if (readable) {
        Sentences sentences(stream, activation.tables);
        const bool appended = way == Output::Way::at_the_end;
        if (appended && is_nil(value)) sentences.put_text(" ");
        sentences.put(value);
        if (appended && sentences.ends_in_word()) sentences.put_text("\n");
        sentences.flush();
    } else {
        disass(stream, "", 0, false, value);
    }
    PrintOut = false;
    operations += value.elements;
}

Outcome write_below(Activation& activation, Output::Way way, bool readable) {
    return write_to_file(activation, of_others, way,
                         [&](std::FILE* stream) { write_value(stream, activation, way, readable); });
}

// ---- open files as values

using OwnedFile = std::unique_ptr<OpenFile, Release>;

// Whether there are open files in the value, or closed ones, and nothing else.
bool is_of_files(const DataElement& value) {
    if (value.rank < 0 || value.data_pointer == nullptr || !(value.type & (HASFILE | STRUCTURED))) return false;
    enter_nest();
    const std::span items(items_of(value), value.elements);
    return std::ranges::all_of(items, [](const DataElement& item) {
        heed_attention();
        return item.tag == tag::file || (item.tag == tag::subarray && is_of_files(*item.nested));
    });
}

// Runs `act` on the item of each file, from the last to the first, until it fails. Whether it never did.
template <class Act>
bool all_files(const DataElement& value, const Act& act) {
    enter_nest();
    const std::span items(items_of(value), value.elements);
    return std::ranges::all_of(items | std::views::reverse, [&act](const DataElement& item) {
        heed_attention();
        return item.tag == tag::subarray ? all_files(*item.nested, act) : act(item);
    });
}

bool close_file(const DataElement& item) {
    if (std::FILE* const stream = std::exchange(item.file->stream, nullptr); stream != nullptr) std::fclose(stream);
    return true;
}

bool open_again(const DataElement& item) {
    close_file(item);
    item.file->stream = open_to_change(item.name).release();
    return item.file->stream != nullptr;
}

bool rewind_file(const DataElement& item) {
    if (item.file->stream != nullptr) std::rewind(item.file->stream);
    return true;
}

template <class Act>
Outcome drop_files(Activation& activation, const Act& act) {
    if (!is_of_files(*activation.sp)) refuse(activation, message::not_a_file);
    all_files(*activation.sp, act);
    dereferencepoint(*activation.sp--);
    return Outcome::next;
}

}  // namespace

Outcome read_file(Activation& activation) {
    const Stream stream = file_to_read(activation, of_read);
    const OwnAccount account;
    drop_name(activation);
    run_stream(activation, stream.get());
    check_end(activation, stream.get(), of_read);
    return Outcome::next;
}

Outcome read_text(Activation& activation) {
    const Stream stream = file_to_read(activation, of_read);
    const std::optional<LongText> text = all_of(stream.get(), activation.site());
    check_end(activation, stream.get(), of_read);
    Owner made(make_text(*text, activation.site()));
    std::swap(*activation.sp, made.record);
    return Outcome::next;
}

Outcome load_all(Activation& activation) {
    const Stream stream = file_to_read(activation, of_load);
    const OwnAccount account;
    while (activation.height() > 0) dereferencepoint(*activation.sp--);
    hashwipe(activation.tables->table);
    if (is_loading && activation.level > 0)  // a part of the sentence of the outer one that asks for it
        run_stream(activation, stream.get());
    else
        Loading(activation, stream.get())();
    check_end(activation, stream.get(), of_load);
    return Outcome::next;
}

Outcome save_all(Activation& activation) {
    return write_to_file(activation, of_save, Output::Way::for_good, [&](std::FILE* stream) {
        remember(stream, activation.tables);
        dumpstack(stream, activation.argument_floor, activation.sp - 1, activation.tables);
    });
}

Outcome dump_stack(Activation& activation) {
    if (has_empty_name(activation)) {
        dumpstack(stdout, activation.argument_floor, activation.sp, activation.tables);
        return Outcome::next;
    }
    return write_to_file(activation, of_dumpstack, Output::Way::for_good, [&](std::FILE* stream) {
        dumpstack(stream, activation.argument_floor, activation.sp - 1, activation.tables);
    });
}

Outcome remember_names(Activation& activation) {
    return write_to_file(activation, of_remember, Output::Way::for_good,
                         [&](std::FILE* stream) { remember(stream, activation.tables); });
}

Outcome write_file(Activation& activation) {
    const auto write = [&](std::FILE* stream) {
        write_value(stream, activation, Output::Way::anew, true);
        std::fputc('\n', stream);
    };
    if (!has_empty_name(activation)) return write_to_file(activation, of_write, Output::Way::anew, write);
    write(stdout);
    std::fflush(stdout);
    drop_name(activation);
    return Outcome::next;
}

Outcome append_file(Activation& activation) { return write_below(activation, Output::Way::at_the_end, true); }
Outcome write_text(Activation& activation) { return write_below(activation, Output::Way::anew, false); }
Outcome append_text(Activation& activation) { return write_below(activation, Output::Way::at_the_end, false); }

Outcome open_file(Activation& activation) {
    DataElement& left = activation.sp[-1];
    if (is_of_files(left)) {
        if (!all_files(left, open_again)) refuse_to_open(activation, of_others);
        dereferencepoint(*activation.sp--);
        return Outcome::next;
    }
    const std::string path = name_in(activation, left, of_others);
    Stream stream = open_to_change(path);
    if (!stream) refuse_to_open(activation, of_others);
    OwnedText name(stringdup(path));
    OwnedFile file(static_cast<OpenFile*>(allocate_block(0, sizeof(OpenFile))));
    const bool small = activation.cell->modifier == static_cast<std::uint16_t>(Instruction::SMALL);
    DataElement item{};
    item.head = make_head(tag::file, form::binary, small ? mark::named | mark::r_prefix : mark::named);
    item.name = name.get();
    item.file = file.get();
    Owner made(make_scalar(item));
    *file = {stream.release(), *activation.sp--};
    name.release();
    file.release();
    std::swap(left, made.record);
    return Outcome::next;
}

Outcome close_files(Activation& activation) { return drop_files(activation, close_file); }
Outcome rewind_files(Activation& activation) { return drop_files(activation, rewind_file); }

Outcome stream_edit(Activation& activation) {
    static_cast<void>(
        name_in(activation, *activation.sp, {message::expression_not_characters, message::expression_not_a_vector, 0}));
    return Outcome::next;
}

}  // namespace ondrel
