#include "files/streams.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "data/errors.h"
#include "data/walks.h"

namespace ondrel {
namespace {

// Waits a little; an interrupt ends it.
void wait_a_little(pollfd* watched) {
    constexpr int milliseconds = 50;
    poll(watched, watched != nullptr ? 1 : 0, milliseconds);
    heed_attention();
}

void let_wait(int descriptor) { fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) & ~O_NONBLOCK); }

Stream stream_of(Descriptor opened, const char* mode) {
    if (!opened) return nullptr;
    let_wait(opened.get());
    Stream stream(fdopen(opened.get(), mode));
    if (stream) opened.release();
    return stream;
}

// As a writer who waits for the reader of a pipe.
Descriptor open_to_write(const std::string& path, int flags) {
    constexpr mode_t by_all = 0666;
    for (;;) {
        Descriptor opened = open_allowed(path, flags, flags & O_CREAT ? by_all : 0);
        struct stat found {};
        const bool waits = !opened && errno == ENXIO && stat(path.c_str(), &found) == 0 && S_ISFIFO(found.st_mode);
        if (!waits) return opened;
        wait_a_little(nullptr);
    }
}

// One of the process's own, as it stands: what is written goes behind what has been written there.
Descriptor own_to_write(int descriptor) {
    const int flags = fcntl(descriptor, F_GETFL);
    if (flags >= 0 && (flags & O_ACCMODE) == O_RDONLY) errno = EACCES;
    if (flags < 0 || (flags & O_ACCMODE) == O_RDONLY) return Descriptor();
    std::fflush(stdout);
    return another(descriptor);
}

}  // namespace

Stream open_to_read(const std::string& path) {
    if (!is_allowed(path)) return nullptr;
    Descriptor opened = open_allowed(path, O_RDONLY);
    struct stat found {};
    if (!opened || fstat(opened.get(), &found) != 0) return nullptr;
    if (S_ISDIR(found.st_mode)) {
        errno = EISDIR;
        return nullptr;
    }
    if (S_ISFIFO(found.st_mode))
        for (pollfd watched{opened.get(), POLLIN, 0}; (watched.revents & (POLLIN | POLLHUP)) == 0;)
            wait_a_little(&watched);
    return stream_of(std::move(opened), "r");
}

Stream open_to_change(const std::string& path) {
    if (!is_allowed(path)) return nullptr;
    Descriptor opened = open_allowed(path, O_RDWR);
    return opened ? stream_of(std::move(opened), "r+b") : nullptr;
}

std::optional<LongText> all_of(std::FILE* stream, Site site) {
    LongText text;
    struct stat found {};
    if (fstat(fileno(stream), &found) == 0 && S_ISREG(found.st_mode))
        checked_count(static_cast<std::size_t>(found.st_size), site);
    char buffer[65536];
    for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, stream)) > 0;) {
        text.append({buffer, n});
        checked_count(text.size(), site);
        heed_attention();
    }
    if (std::ferror(stream)) return {};
    return text;
}

Output::Output(const std::string& path, Way how) : way(how) {
    if (!is_allowed(path)) return;
    std::optional<Place> place = place_of(path);
    if (!place) return;
    if (const int own = place->own_descriptor(); own >= 0)
        begin_directly(own_to_write(own));
    else if (way == Way::at_the_end)
        begin_at_the_end(path);
    else
        begin_anew(std::move(*place));
}

Output::~Output() {
    file.reset();
    if (old_length >= 0) static_cast<void>(!ftruncate(opened.get(), old_length));
}

// The stream has a number of its own, so that closing it tells whether all has been written while the file can still be
// dealt with.
void Output::begin_directly(Descriptor descriptor) {
    opened = std::move(descriptor);
    if (opened) file = stream_of(another(opened.get()), "w");
}

void Output::begin_at_the_end(const std::string& path) {
    begin_directly(open_to_write(path, O_WRONLY | O_APPEND | O_CREAT));
    struct stat found {};
    if (opened && fstat(opened.get(), &found) == 0 && S_ISREG(found.st_mode)) old_length = found.st_size;
}

void Output::begin_anew(Place place) {
    if (place.name.empty() || place.name == "." || place.name == "..") {
        errno = EISDIR;
        return;
    }
    if (place.exists() && !S_ISREG(place.found.st_mode))
        return begin_directly(open_to_write(place.path, O_WRONLY | O_TRUNC));
    if (way == Way::for_good) clear_leftovers(place.directory);
    replacement.emplace(std::move(place));
    if (replacement->descriptor() >= 0) file = stream_of(another(replacement->descriptor()), "w");
}

bool Output::commit() {
    if (std::fflush(file.get()) != 0 || std::ferror(file.get()) != 0) return false;
    if (std::fclose(file.release()) != 0) return false;
    if (replacement && !replacement->take_place(way == Way::for_good)) return false;
    old_length = -1;
    return true;
}

}  // namespace ondrel
