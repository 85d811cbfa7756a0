#include "partial_tables.h"

#include <cstddef>
#include <deque>
#include <memory>

#include "session.h"

namespace tev {
namespace bttev {
namespace {

struct SlotOffset {
  const char* name;
  size_t offset;
};

#define TEV_SLOT(table, slot) \
  SlotOffset { #slot, offsetof(table, slot) }

const std::vector<SlotOffset> kAdapterSlots = {
    TEV_SLOT(bt_callbacks_t, adapter_state_changed_cb),
    TEV_SLOT(bt_callbacks_t, adapter_properties_cb),
    TEV_SLOT(bt_callbacks_t, remote_device_properties_cb),
    TEV_SLOT(bt_callbacks_t, device_found_cb),
    TEV_SLOT(bt_callbacks_t, discovery_state_changed_cb),
    TEV_SLOT(bt_callbacks_t, pin_request_cb),
    TEV_SLOT(bt_callbacks_t, ssp_request_cb),
    TEV_SLOT(bt_callbacks_t, bond_state_changed_cb),
    TEV_SLOT(bt_callbacks_t, address_consolidate_cb),
    TEV_SLOT(bt_callbacks_t, le_address_associate_cb),
    TEV_SLOT(bt_callbacks_t, acl_state_changed_cb),
    TEV_SLOT(bt_callbacks_t, thread_evt_cb),
    TEV_SLOT(bt_callbacks_t, dut_mode_recv_cb),
    TEV_SLOT(bt_callbacks_t, le_test_mode_cb),
    TEV_SLOT(bt_callbacks_t, energy_info_cb),
    TEV_SLOT(bt_callbacks_t, link_quality_report_cb),
    TEV_SLOT(bt_callbacks_t, generate_local_oob_data_cb),
    TEV_SLOT(bt_callbacks_t, switch_buffer_size_cb),
    TEV_SLOT(bt_callbacks_t, switch_codec_cb),
};

using C = btgatt_client_callbacks_t;
const std::vector<SlotOffset> kClientSlots = {
    TEV_SLOT(C, register_client_cb),
    TEV_SLOT(C, open_cb),
    TEV_SLOT(C, close_cb),
    TEV_SLOT(C, search_complete_cb),
    TEV_SLOT(C, register_for_notification_cb),
    TEV_SLOT(C, notify_cb),
    TEV_SLOT(C, read_characteristic_cb),
    TEV_SLOT(C, write_characteristic_cb),
    TEV_SLOT(C, read_descriptor_cb),
    TEV_SLOT(C, write_descriptor_cb),
    TEV_SLOT(C, execute_write_cb),
    TEV_SLOT(C, read_remote_rssi_cb),
    TEV_SLOT(C, configure_mtu_cb),
    TEV_SLOT(C, congestion_cb),
    TEV_SLOT(C, get_gatt_db_cb),
    TEV_SLOT(C, services_removed_cb),
    TEV_SLOT(C, services_added_cb),
    TEV_SLOT(C, phy_updated_cb),
    TEV_SLOT(C, conn_updated_cb),
    TEV_SLOT(C, service_changed_cb),
};

using S = btgatt_server_callbacks_t;
const std::vector<SlotOffset> kServerSlots = {
    TEV_SLOT(S, register_server_cb),
    TEV_SLOT(S, connection_cb),
    TEV_SLOT(S, service_added_cb),
    TEV_SLOT(S, service_stopped_cb),
    TEV_SLOT(S, service_deleted_cb),
    TEV_SLOT(S, request_read_characteristic_cb),
    TEV_SLOT(S, request_read_descriptor_cb),
    TEV_SLOT(S, request_write_characteristic_cb),
    TEV_SLOT(S, request_write_descriptor_cb),
    TEV_SLOT(S, request_exec_write_cb),
    TEV_SLOT(S, response_confirmation_cb),
    TEV_SLOT(S, indication_sent_cb),
    TEV_SLOT(S, congestion_cb),
    TEV_SLOT(S, mtu_changed_cb),
    TEV_SLOT(S, phy_updated_cb),
    TEV_SLOT(S, conn_updated_cb),
};

using L = btgatt_scanner_callbacks_t;
const std::vector<SlotOffset> kScannerSlots = {
    TEV_SLOT(L, scan_result_cb),
    TEV_SLOT(L, batchscan_reports_cb),
    TEV_SLOT(L, batchscan_threshold_cb),
    TEV_SLOT(L, track_adv_event_cb),
};

#undef TEV_SLOT

// Every slot is a function pointer; a null one is all zero bytes.
bool clearSlot(void* table, const std::vector<SlotOffset>& slots, const std::string& name) {
  for (const SlotOffset& slot : slots) {
    if (name == slot.name) {
      *reinterpret_cast<void**>(static_cast<char*>(table) + slot.offset) = nullptr;
      return true;
    }
  }
  return false;
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
    if (!clearSlot(&copy, kAdapterSlots, name)) {
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
      known = slot.empty() ? (copy->gatt.client = nullptr, true) : clearSlot(&copy->client, kClientSlots, slot);
    } else if (table == "server") {
      known = slot.empty() ? (copy->gatt.server = nullptr, true) : clearSlot(&copy->server, kServerSlots, slot);
    } else if (table == "scanner") {
      known = slot.empty() ? (copy->gatt.scanner = nullptr, true) : clearSlot(&copy->scanner, kScannerSlots, slot);
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
