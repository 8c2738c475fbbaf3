#include "system/simulatedmachine.h"

#include "system/boundary.h"
#include "system/clibrary.h"
#include "system/requests.h"

#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>

namespace sys {

void simulatedMachine::rewind() {
    answers_.modprobe.rewind();
    for (auto& [path, node] : answers_.nodes)
        eachAnswer(node, [](const char* /*name*/, auto& answers) { answers.rewind(); });
}

int simulatedMachine::open(const char* path, int flags, mode_t mode) {
    if (!isNodePath(path))
        return cLibrary::open(path, flags, mode);
    const auto found = answers_.nodes.find(path);
    if (found == answers_.nodes.end())
        return fail(ENOENT);
    auto& outcomes = found->second.open;
    if (const int error = outcomes.empty() ? 0 : outcomes.next().error)
        return fail(error);
    auto entry = open_.extract(open_.emplace(-1, &*found).first); // memory ends here, before there is a descriptor
    const int fd = entry.key() = newDescriptor();
    if (fd >= 0)
        open_.insert(std::move(entry));
    return fd;
}

int simulatedMachine::newDescriptor() {
    constexpr int first = 1 << 30; // a process with so many files would need 8 GiB for their table alone
    return open_.empty() ? first : std::max(first, open_.rbegin()->first + 1);
}

int simulatedMachine::close(int fd) { return open_.erase(fd) != 0 ? 0 : cLibrary::close(fd); }

int simulatedMachine::ioctl(int fd, unsigned long request, void* argument) {
    const auto found = open_.find(fd);
    if (found == open_.end()) // where a node did not open, it is nobody's descriptor
        return fd < 0 ? fail(EBADF) : cLibrary::ioctl(fd, request, argument);
    auto& [path, node] = *found->second;
    return answerRequest(path, node, request, argument);
}

unsigned simulatedMachine::sleep(unsigned seconds) {
    secondsSkipped_ += seconds;
    return 0;
}

int simulatedMachine::system(const char* command) {
    constexpr int commandNotFound = 127, writeError = 2; // the second of grep, with which the USB query ends
    const shellCommand known = commandOf(command);
    switch (known.kind) {
    case shellCommand::modprobe:
        return answers_.modprobe.empty() ? 0 : W_EXITCODE(answers_.modprobe.next(), 0);
    case shellCommand::usbQuery: {
        std::ofstream listing(known.file, std::ios::binary);
        listing << answers_.usbListing << std::flush;
        return listing ? 0 : W_EXITCODE(writeError, 0);
    }
    case shellCommand::removal:
        std::remove(known.file.c_str());
        return 0;
    case shellCommand::other:
        break;
    }
    return W_EXITCODE(commandNotFound, 0);
}

serviceAnswer simulatedMachine::spawn(const std::vector<std::string>& command, std::chrono::seconds /*limit*/) {
    if (answers_.opticalTable && command == std::vector<std::string>{"cat", opticalTablePath})
        return {*answers_.opticalTable, ""};
    return {"", std::strerror(ENOENT)};
}

kernelWordMap simulatedMachine::kernelWordsOf(const std::set<std::string>& nodes, kernelDetail /*detail*/) {
    kernelWordMap known;
    for (const auto& [path, node] : answers_.nodes) {
        if (!node.knownAs.empty() && nodes.count(path) > 0)
            known[path] = node.knownAs;
    }
    return known;
}

std::set<std::string> simulatedMachine::deviceNodes() {
    std::set<std::string> nodes;
    for (const auto& [path, node] : answers_.nodes) {
        const auto& opens = node.open.all();
        const bool isThere = opens.empty() || !isAbsent(opens.front().error);
        if (isThere && isWalkedNode(path))
            nodes.insert(path);
    }
    return nodes;
}

} // namespace sys
