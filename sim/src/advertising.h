#pragma once

#include "tev/sim/world.h"

namespace tev {
namespace sim {

// A peripheral's legacy advertising payload: flags, service UUID lists, complete local name
// and manufacturer data, as length-type-value structures.
Bytes BuildAdvertisingData(const Peripheral& peripheral);

// What a legacy advertisement can carry.
constexpr size_t kMaxAdvertisingBytes = 31;

}  // namespace sim
}  // namespace tev
