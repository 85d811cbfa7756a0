#pragma once

#include <hardware/bluetooth.h>
#include <hardware/bt_gatt.h>

#include <string>
#include <vector>

namespace tev {
namespace bttev {

// Copies of the stack's complete tables with chosen slots left null, as a careless stack would
// hand them over. Each copy lives as long as the process: the library may read it at any time.

// `slots` are adapter slot names ("adapter_state_changed_cb"). Null with `error` for an unknown
// name.
bt_callbacks_t* AdapterTablesWithout(const std::vector<std::string>& slots, std::string* error);

// `slots` are "client", "server" or "scanner" for a whole table, or a qualified slot
// ("client.notify_cb").
const btgatt_callbacks_t* GattTablesWithout(const std::vector<std::string>& slots, std::string* error);

}  // namespace bttev
}  // namespace tev
