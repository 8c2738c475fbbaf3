#pragma once

#include "system/machine.h"

namespace sys {

/// Reads a file whole. That it does not exist is no failure: its content is "".
serviceAnswer fileContent(const std::string& path);

} // namespace sys
