#pragma once

#include <string>

namespace inventory {

/// The path of a file that belongs to this program: in a build beside the program, once installed in the program's
/// library directory. Where the file is in neither, the path beside the program.
std::string installedFile(const std::string& name);

} // namespace inventory
