// Runs a test on every vector target of this machine.
#pragma once

#include <functional>
#include <string>

namespace targets {

// Calls `body` once for each target the library was built for and the machine has, with that target chosen.
void forEach(const std::function<void(const std::string& name)>& body);

}  // namespace targets
