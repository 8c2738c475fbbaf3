#include "system/replayedmachine.h"

#include "system/boundary.h"

namespace sys {

int replayedMachine::open(const char* path, int flags, mode_t mode) {
    return again_ ? again_->open(path, flags, mode) : layer::open(path, flags, mode);
}

int replayedMachine::close(int fd) { return again_ ? again_->close(fd) : layer::close(fd); }

int replayedMachine::ioctl(int fd, unsigned long request, void* argument) {
    return again_ ? again_->ioctl(fd, request, argument) : layer::ioctl(fd, request, argument);
}

unsigned replayedMachine::sleep(unsigned seconds) { return again_ ? again_->sleep(seconds) : layer::sleep(seconds); }

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
    if (!again_)
        return layer::system(command);
    again_->rewind();
    return again_->system(command);
}

} // namespace sys
