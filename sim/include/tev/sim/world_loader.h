#pragma once

#include <string>

#include "tev/sim/world.h"

namespace tev {
namespace sim {

// Why a world description was refused. `field` is a path such as
// "le_peripherals[0].gatt[1].characteristics[0].uuid", empty when the whole file is at fault.
struct WorldError {
  std::string file;
  std::string field;
  std::string reason;

  // "file: field: reason".
  std::string ToString() const;
};

// Reads a world description (schema in sim/worlds/README.md). On failure `world` is untouched.
bool LoadWorldFile(const std::string& path, World* world, WorldError* error);
// `source` names the text in errors.
bool ParseWorld(const std::string& text, const std::string& source, World* world,
                WorldError* error);

// The world compiled in from sim/worlds/default.json: a heart-rate monitor, a battery-powered
// tag, a classic headset and a remote central.
const World& DefaultWorld();
// Its JSON text.
const std::string& DefaultWorldJson();

}  // namespace sim
}  // namespace tev
