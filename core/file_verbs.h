// Text and values in files, and the state of a session. A name is a text; 720 where the constraint refuses it.
#pragma once

#include "core/activation.h"

namespace ondrel {

// Each takes a name off the stack. An error leaves the stack as it was and ends the whole sentence. The numbers are of
// a name that is no text, of one that is no vector, and of a file that cannot be opened, read, written or closed.
//
// A sentence of a file that LOAD reads costs no more than itself when it fails: what came back is said at the end, on
// standard error, and an error of a verb goes on from there to the prompt. One of READ leaves the file at once.
Outcome read_file(Activation& activation);       // runs what is in the file, in this frame. 701, 702, 710
Outcome read_text(Activation& activation);       // pushes what is in it, as a text. 701, 702, 710
Outcome load_all(Activation& activation);        // the same on an empty frame and no names. 715, 716, 710
Outcome save_all(Activation& activation);        // all names, then the stack of this frame. 708, 709, 713
Outcome dump_stack(Activation& activation);      // the stack; an empty name stays, for standard output. 721 to 723
Outcome remember_names(Activation& activation);  // 724 to 726

// Write the value below the name, which stays: so that READ gives it back, or as people see it; to a new file or at
// the end of what there is. For WRITE an empty name is standard output. 703, 704, 711 for WRITE, else 706, 707, 712.
Outcome write_file(Activation& activation);
Outcome append_file(Activation& activation);
Outcome write_text(Activation& activation);
Outcome append_text(Activation& activation);

// Files that stay open as values: one for each open file, which all copies of the value share. OPEN takes the name
// below the value on top, which goes into the new one; of open files in place of a name it opens each anew, and drops
// the value. The others drop their operand, where a file that is closed already stays so. 706, 707, 712 for OPEN; 727
// for what is not files alone, nested or not.
Outcome open_file(Activation& activation);
Outcome close_files(Activation& activation);
Outcome rewind_files(Activation& activation);

// Looks at its text alone. 205, 206.
Outcome stream_edit(Activation& activation);

}  // namespace ondrel
