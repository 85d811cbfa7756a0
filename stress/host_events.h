#pragma once

#include "choices.h"
#include "mojom/bluetooth.mojom.h"
#include "records.h"

namespace tev {
namespace stress {

// One event or request of the host's BluetoothInstance interface (all but Init), with records
// made from the choices in the given shape. Requests get replies that are dropped.
struct HostEvent {
  const char* name;
  void (*fire)(Choices& choices, tev::mojom::BluetoothInstance* instance, Shape shape);
};

const HostEvent& PickHostEvent(Choices& choices);

}  // namespace stress
}  // namespace tev
