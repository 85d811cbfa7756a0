#include "library_loader.h"

#include <dlfcn.h>

#include <cstddef>

#include "base/strings/stringprintf.h"

namespace tev {
namespace bttev {
namespace {

// The slots of bt_interface_t up to get_metric_id: the ones this HAL release must fill.
constexpr size_t kRequiredAdapterSlots = 35;
constexpr size_t kClientSlots = sizeof(btgatt_client_interface_t) / sizeof(void*);
constexpr size_t kServerSlots = sizeof(btgatt_server_interface_t) / sizeof(void*);

// The index of the first null slot among `count` function pointers, or `count`.
size_t firstNullSlot(const void* table, size_t count) {
  const auto* slots = static_cast<void* const*>(table);
  for (size_t i = 0; i < count; ++i) {
    if (!slots[i]) return i;
  }
  return count;
}

}  // namespace

std::unique_ptr<LoadedLibrary> LoadedLibrary::Load(const std::string& path, std::string* error) {
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle) {
    const char* reason = dlerror();
    *error = "cannot load " + path + ": " + (reason ? reason : "unknown reason");
    return nullptr;
  }
  const auto* bt = static_cast<const bt_interface_t*>(dlsym(handle, BLUETOOTH_INTERFACE_STRING));
  if (!bt) {
    *error = path + " exports no " BLUETOOTH_INTERFACE_STRING;
    return nullptr;
  }
  if (bt->size != sizeof(bt_interface_t)) {
    *error = base::StringPrintf("%s: " BLUETOOTH_INTERFACE_STRING " is %zu bytes, this HAL release's is %zu",
                                path.c_str(), bt->size, sizeof(bt_interface_t));
    return nullptr;
  }
  const size_t missing = firstNullSlot(&bt->init, kRequiredAdapterSlots);
  if (missing != kRequiredAdapterSlots) {
    *error = base::StringPrintf("%s: slot %zu of " BLUETOOTH_INTERFACE_STRING " is empty", path.c_str(), missing + 1);
    return nullptr;
  }
  return std::unique_ptr<LoadedLibrary>(new LoadedLibrary(bt));
}

const btgatt_interface_t* LoadedLibrary::CheckGattTable(const void* table, std::string* error) {
  const auto* gatt = static_cast<const btgatt_interface_t*>(table);
  if (!gatt) {
    *error = "get_profile_interface(\"gatt\") returned null";
    return nullptr;
  }
  if (gatt->size != sizeof(btgatt_interface_t)) {
    *error = base::StringPrintf("the GATT table is %zu bytes, this HAL release's is %zu", gatt->size,
                                sizeof(btgatt_interface_t));
    return nullptr;
  }
  if (!gatt->init || !gatt->cleanup || !gatt->client || !gatt->server || !gatt->scanner || !gatt->advertiser) {
    *error = "the GATT table leaves an entry empty";
    return nullptr;
  }
  const size_t client = firstNullSlot(gatt->client, kClientSlots);
  if (client != kClientSlots) {
    *error = base::StringPrintf("slot %zu of the GATT client table is empty", client + 1);
    return nullptr;
  }
  const size_t server = firstNullSlot(gatt->server, kServerSlots);
  if (server != kServerSlots) {
    *error = base::StringPrintf("slot %zu of the GATT server table is empty", server + 1);
    return nullptr;
  }
  return gatt;
}

}  // namespace bttev
}  // namespace tev
