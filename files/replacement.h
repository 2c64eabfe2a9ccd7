// A new content for a file, which becomes the file's when it is whole.
//
// It is written to a file of its own that has no name yet, in the same directory. This takes the old one's place in one
// step, with its owner, group and permissions: whatever happens in between, the old content or the new one is there.
// Only where that cannot be, in a directory that takes no new file or for an owner whom we cannot give one, the content
// is kept elsewhere and copied over the old one at the end, when there is room for all of it.
#pragma once

#include "files/paths.h"

namespace ondrel {

class Replacement {
public:
    // Of a regular file that is there and may be written, or of one that is to be made. Not open if it cannot be.
    explicit Replacement(Place of_file);
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;
    ~Replacement();

    int descriptor() const { return made.get(); }  // to write to; -1 if it is not open
    // All has been written. For good: it outlasts a crash of the system from here on, too. False if it could not be
    // done, and the file is as it was; where the directory alone could not be made to last, it is the new one.
    bool take_place(bool for_good);

private:
    bool make_in_place();
    bool resemble() const;
    bool rename_over();
    bool copy_over(bool for_good) const;

    Place place;
    Descriptor made;
    std::string beside;  // the name of the new file while it has one of its own
    bool renames = true;
};

// Removes from the directory what a process has left that was killed between giving a new file its name and its place.
// The files of those that live stay.
void clear_leftovers(const Descriptor& directory);

}  // namespace ondrel
