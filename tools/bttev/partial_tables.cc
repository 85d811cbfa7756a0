#include "partial_tables.h"

#include <deque>
#include <type_traits>

#include "session.h"
#include "tev/testing/stack/callback_tables.h"

namespace tev {
namespace bttev {
namespace {

// Every slot is named once, in the stack double's list.
template <typename Table>
bool clearSlot(Table* table, const std::string& name) {
  bool found = false;
  testing::ForEachSlot([&](auto slot, [[maybe_unused]] const char* slotName) {
    using Named = decltype(slot);
    if constexpr (std::is_same_v<typename Named::Table, Table>) {
      if (name != slotName) return;
      table->*Named::member = nullptr;
      found = true;
    }
  });
  return found;
}

// Kept for the life of the process; a deque never moves what it holds.
template <typename T>
T* keep(const T& table) {
  static std::deque<T>* kept = new std::deque<T>();
  kept->push_back(table);
  return &kept->back();
}

struct GattCopy {
  btgatt_callbacks_t gatt;
  btgatt_client_callbacks_t client;
  btgatt_server_callbacks_t server;
  btgatt_scanner_callbacks_t scanner;
};

}  // namespace

bt_callbacks_t* AdapterTablesWithout(const std::vector<std::string>& slots, std::string* error) {
  bt_callbacks_t copy = *AdapterCallbacks();
  for (const std::string& name : slots) {
    if (!clearSlot(&copy, name)) {
      *error = "no adapter callback slot '" + name + "' ('help callbacks' lists them)";
      return nullptr;
    }
  }
  return keep(copy);
}

const btgatt_callbacks_t* GattTablesWithout(const std::vector<std::string>& slots, std::string* error) {
  const btgatt_callbacks_t& full = *GattCallbacks();
  GattCopy* copy = keep(GattCopy{*GattCallbacks(), *full.client, *full.server, *full.scanner});
  copy->gatt.client = &copy->client;
  copy->gatt.server = &copy->server;
  copy->gatt.scanner = &copy->scanner;
  for (const std::string& name : slots) {
    const size_t dot = name.find('.');
    const std::string table = name.substr(0, dot);
    const std::string slot = dot == std::string::npos ? "" : name.substr(dot + 1);
    bool known = false;
    if (table == "client") {
      known = slot.empty() ? (copy->gatt.client = nullptr, true) : clearSlot(&copy->client, slot);
    } else if (table == "server") {
      known = slot.empty() ? (copy->gatt.server = nullptr, true) : clearSlot(&copy->server, slot);
    } else if (table == "scanner") {
      known = slot.empty() ? (copy->gatt.scanner = nullptr, true) : clearSlot(&copy->scanner, slot);
    }
    if (!known) {
      *error = "no GATT callback table or slot '" + name + "' (client, server, scanner, or e.g. client.notify_cb)";
      return nullptr;
    }
  }
  return &copy->gatt;
}

}  // namespace bttev
}  // namespace tev
