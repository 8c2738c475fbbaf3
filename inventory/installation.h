#pragma once

#include <string>

namespace inventory {

/// The path of a file that belongs to this program: beside it in a build, in its library directory when
/// installed. The first of the two where neither exists.
std::string installedFile(const std::string& name);

} // namespace inventory
