#pragma once

#include <string>

namespace simulator {

/// The number of the error called `name` ("EIO"); 0 when there is none of that name.
int errnoOf(const std::string& name);

} // namespace simulator
