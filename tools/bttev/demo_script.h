#pragma once

#include <string>

#include "tev/sim/world.h"

namespace tev {
namespace bttev {

// The guided tour, written in the command language for the world at hand: every subsystem of
// the HAL, from init to cleanup, against the devices the world holds (parts for which the
// world has no device are left out, with a word why). It runs on the real clock.
std::string BuildDemoScript(const sim::World& world);

}  // namespace bttev
}  // namespace tev
