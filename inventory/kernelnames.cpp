#include "inventory/kernelnames.h"

#include "minihost/cimcontent.h"

namespace inventory {

std::string nodeOf(const minihost::memoryInstance& instance) {
    const auto* const node = instance.find("DeviceID");
    return node == nullptr ? "" : minihost::valueText(*node);
}

const sys::kernelNames* findKernelNames(const sys::kernelNameMap& known, const minihost::memoryInstance& instance) {
    const auto found = known.find(nodeOf(instance));
    return found == known.end() ? nullptr : &found->second;
}

std::string kernelNameText(const sys::kernelNameMap& known, const minihost::memoryInstance& instance) {
    std::string names;
    if (const auto* const found = findKernelNames(known, instance)) {
        for (const auto& name : found->names)
            names += (names.empty() ? "" : " ") + name;
    }
    return names;
}

} // namespace inventory
