// EDIT and TEXTEDIT: the value on top of the stack goes through the user's editor.
#pragma once

#include "core/activation.h"

namespace ondrel {

// Writes the value to a file of its own, lets $EDITOR (else vi) work on it, and takes what it left: as sentences to
// run, or as a text. 711 if there is no file to write to, 710 if the editor left none; the value then stays.
Outcome edit(Activation& activation);

}  // namespace ondrel
