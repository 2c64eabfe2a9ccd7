#include "core/editor.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "core/calls.h"
#include "core/timing.h"
#include "data/texts.h"
#include "files/streams.h"
#include "translator/printing.h"
#include "translator/sentences.h"

namespace ondrel {
namespace {

// A file that only its user may read, and that goes with it. Its path has no byte that a shell would take for more.
struct TemporaryFile {
    char path[sizeof "/tmp/OndrelXXXXXX"] = "/tmp/OndrelXXXXXX";
    int descriptor = mkstemp(path);

    TemporaryFile() = default;
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (descriptor < 0) return;
        close(descriptor);
        std::remove(path);
    }

    bool write(std::string_view text) const {
        const Stream stream(std::fopen(path, "w"));
        return stream && std::fwrite(text.data(), 1, text.size(), stream.get()) == text.size() &&
               std::fflush(stream.get()) == 0;
    }
};

// Waits for the editor, to which the terminal belongs meanwhile, an interrupt too. From a shell that it opens the user
// comes back to this program. Whether it ended well.
bool run_editor(const char* path) {
    const char* const chosen = std::getenv("EDITOR");
    const bool has_choice = chosen != nullptr && *chosen != '\0';
    const std::string command = std::string("/bin/sh -c 'SHELL=`which Ondrel`; export SHELL; ") +
                                (has_choice ? "$EDITOR " : "vi ") + path + "'";
    std::fflush(stdout);
    return std::system(command.c_str()) == 0;
}

// The last byte is the newline that an editor adds.
DataElement edited_text(std::string_view text, Site site) {
    return make_text(text.substr(0, text.size() - !text.empty()), site);
}

}  // namespace

Outcome edit(Activation& activation) {
    const bool as_text = activation.cell->modifier == static_cast<std::uint16_t>(Instruction::TEXTREAD);
    const bool has_value = activation.height() > 0;
    LongText written;
    if (has_value) written = as_text ? text_of(*activation.sp) : readable_text(*activation.sp, activation.tables);
    const TemporaryFile file;
    if (file.descriptor < 0 || !file.write(written)) return fail(message::cannot_write, activation);
    if (has_value) operations += activation.sp->elements;
    const bool ended_well = run_editor(file.path);
    const Stream stream(std::fopen(file.path, "r"));
    const std::optional<LongText> left = stream ? all_of(stream.get()) : std::nullopt;
    if (!left) return fail(message::cannot_read, activation);
    const bool is_unchanged = *left == written;
    if (is_unchanged && (!as_text || !ended_well)) return Outcome::next;  // nothing has been edited
    const DataElement text = as_text ? edited_text(*left, activation.site()) : DataElement{};
    if (has_value) dereferencepoint(*activation.sp--);
    if (as_text) return push(activation, text);
    const OwnAccount account;
    std::rewind(stream.get());
    run_stream(activation, stream.get());
    return Outcome::next;
}

}  // namespace ondrel
