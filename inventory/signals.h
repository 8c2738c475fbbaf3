#pragma once

namespace inventory {

/// From now on a signal that ends the program, unless it is ignored, ends its child and removes its temporary directory
/// first. A used-up limit of CPU time is a failure with a message; of file size, and a closed pipe, errors of writing.
void handleSignals();

} // namespace inventory
