#include "system/recordedmachine.h"

#include "system/boundary.h"
#include "system/requests.h"

#include <sys/wait.h>

#include <algorithm>

namespace sys {

void recordedMachine::asked(const std::string& path, unsigned long request, const void* argument, int result,
                            int error) {
    keepAnswer(answers_.nodes[path], request, argument, result, error);
}

int recordedMachine::system(const char* command) {
    const int status = layer::system(command);
    if (commandOf(command).kind == shellCommand::modprobe)
        answers_.modprobe.add(status == 0 ? 0 : std::max(1, WEXITSTATUS(status)));
    return status;
}

serviceAnswer recordedMachine::spawn(const std::vector<std::string>& command, std::chrono::seconds limit) {
    serviceAnswer answer = layer::spawn(command, limit);
    if (hasOpticalTable()) // the one thing that a plug-in reads this way
        answers_.opticalTable = answer.text;
    return answer;
}

serviceAnswer recordedMachine::captureFile(const std::string& path) {
    serviceAnswer answer = layer::captureFile(path);
    answers_.usbListing = answer.text; // and this way
    return answer;
}

machineAnswers recordedMachine::wholeMachine() {
    machineAnswers whole = answers_;
    whole.name = hostName();
    for (const auto kind : virtualDeviceKinds)
        whole.virtualDevices[kind] = virtualDevices(kind);
    whole.hasScsiDevices = hasScsiDevices();
    whole.collected = collected();
    for (const auto& path : deviceNodes())
        whole.nodes[path]; // also those that nobody asked: a replay too says that they are not shown
    std::set<std::string> paths;
    for (const auto& [path, node] : whole.nodes)
        paths.insert(path);
    for (const auto& [path, known] : kernelWordsOf(paths, kernelDetail::all))
        whole.nodes[path].knownAs = known;
    return whole;
}

} // namespace sys
