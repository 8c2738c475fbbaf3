#include "inventory/propertylist.h"

#include "inventory/escape.h"
#include "minihost/cimcontent.h"

namespace inventory {

void writeProperties(const minihost::memoryInstance& instance, std::ostream& output) {
    for (const auto& [name, value] : instance.properties()) {
        const std::string text = minihost::valueText(value, escaped);
        output << "    " << escaped(name) << " =" << (text.empty() ? "" : " " + text) << '\n';
    }
}

} // namespace inventory
