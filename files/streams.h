// Files as streams: to read, to add to, and to write anew.
#pragma once

#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "data/errors.h"
#include "data/long_text.h"
#include "files/replacement.h"

namespace ondrel {

struct CloseStream {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, CloseStream>;

// Null where there is nothing to read: `errno` says why, EXDEV where the constraint refuses. A pipe is waited for; an
// interrupt leaves meanwhile.
Stream open_to_read(const std::string& path);

// To read and to write what there is already, in bytes; null as above.
Stream open_to_change(const std::string& path);

// What is left of the stream. Nothing if it cannot be read.
std::optional<LongText> all_of(std::FILE* stream, Site site = {});

// A stream that writes to a file. Given up before it is committed, it leaves the file as it was. Devices and pipes are
// written directly, and so is what the process has open already, such as /dev/stdout.
class Output {
public:
    enum class Way { anew, for_good, at_the_end };  // for good: anew, and so that it outlasts a crash of the system

    // Not open if that cannot be: `errno` as above.
    Output(const std::string& path, Way way);
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    ~Output();

    bool is_open() const { return file != nullptr; }
    std::FILE* stream() const { return file.get(); }
    // Everything has been written. False if it could not be, and the file is as it was.
    bool commit();

private:
    void begin_anew(Place place);
    void begin_at_the_end(const std::string& path);
    void begin_directly(Descriptor descriptor);

    Way way;
    std::optional<Replacement> replacement;
    Descriptor opened;  // of a file that is not replaced
    Stream file;
    long long old_length = -1;  // of a file that is added to
};

}  // namespace ondrel
