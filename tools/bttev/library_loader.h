#pragma once

#include <hardware/bluetooth.h>
#include <hardware/bt_gatt.h>

#include <memory>
#include <string>

namespace tev {
namespace bttev {

// The HAL library as the stack finds it: loaded by path, known only through the exported
// bluetoothInterface and the HAL headers.
class LoadedLibrary {
 public:
  // Null with `error` when the library cannot be loaded, has no bluetoothInterface, or its
  // table does not have this HAL release's size or leaves a slot the stack calls empty.
  static std::unique_ptr<LoadedLibrary> Load(const std::string& path, std::string* error);

  // The library is never unloaded: its threads may outlive any owner.

  const bt_interface_t* bt() const { return bt_; }

  // The table that get_profile_interface("gatt") returned, checked the same way; null with
  // `error` otherwise.
  static const btgatt_interface_t* CheckGattTable(const void* table, std::string* error);

 private:
  explicit LoadedLibrary(const bt_interface_t* bt) : bt_(bt) {}

  const bt_interface_t* bt_;
};

}  // namespace bttev
}  // namespace tev
