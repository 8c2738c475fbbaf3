#include "system/replayedmachine.h"

#include "system/boundary.h"

namespace sys {

int replayedMachine::system(const char* command) {
    if (commandOf(command).kind != shellCommand::modprobe)
        return layer::system(command);
    if (!again_ && !walk_.answers().modprobe.empty()) { // the second walk begins
        again_.emplace(walk_.answers());
        for (auto& [path, node] : again_->answers().nodes) {
            node.inquiry.keepLast();
            node.serialPage.keepLast();
        }
    }
    if (again_)
        again_->rewind();
    return asked().system(command);
}

} // namespace sys
