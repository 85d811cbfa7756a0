#pragma once

#include <hardware/bluetooth.h>
#include <hardware/bt_gatt.h>

#include <type_traits>
#include <utility>

namespace tev {
namespace testing {

// One slot of a callback table, as a type: `Slot<&btgatt_client_callbacks_t::notify_cb>`.
template <auto Member>
struct Slot {
  template <typename Table, typename Function>
  static Table tableOf(Function Table::*);
  // The table the slot belongs to, and its function type.
  using Table = decltype(tableOf(Member));
  using Function = std::remove_reference_t<decltype(std::declval<Table&>().*Member)>;
  static constexpr auto member = Member;
};

// The stack's callback tables, every slot filled, so that a library calling an unexpected slot is
// seen calling it rather than crashing the stack. Each call becomes
// `Sink::Called(Slot<&table::slot>(), arguments...)` on the thread that made it, while it runs;
// the signatures come from the HAL headers. A Sink overloads Called per slot it cares about.
template <typename Sink>
struct CallbackTables {
  CallbackTables();
  CallbackTables(const CallbackTables&) = delete;
  CallbackTables& operator=(const CallbackTables&) = delete;

  bt_callbacks_t adapter{};
  btgatt_client_callbacks_t client{};
  btgatt_server_callbacks_t server{};
  btgatt_scanner_callbacks_t scanner{};
  // Points at the three tables above.
  btgatt_callbacks_t gatt{};

  // The table above that `slot` belongs to.
  template <auto Member>
  auto& TableFor(Slot<Member>) {
    using Table = typename Slot<Member>::Table;
    if constexpr (std::is_same_v<Table, bt_callbacks_t>) return adapter;
    else if constexpr (std::is_same_v<Table, btgatt_client_callbacks_t>) return client;
    else if constexpr (std::is_same_v<Table, btgatt_server_callbacks_t>) return server;
    else return scanner;
  }
};

namespace wiring {

template <typename Sink, auto Member, typename Function>
struct Thunk;

template <typename Sink, auto Member, typename... Args>
struct Thunk<Sink, Member, void (*)(Args...)> {
  static void Call(Args... args) { Sink::Called(Slot<Member>(), args...); }
};

template <typename Sink, auto Member, typename Table>
void fill(Slot<Member>, Table& table) {
  table.*Member = &Thunk<Sink, Member, typename Slot<Member>::Function>::Call;
}

}  // namespace wiring

// Calls `visit(Slot<&Table::slot>(), "slot")` for every slot of the four tables, table by
// table in the order of the HAL's headers: the one list of the stack's callback slots.
template <typename Visitor>
void ForEachSlot(Visitor&& visit) {
#define TEV_SLOT(Table, slot) visit(Slot<&Table::slot>(), #slot)
  using A = bt_callbacks_t;
  TEV_SLOT(A, adapter_state_changed_cb);
  TEV_SLOT(A, adapter_properties_cb);
  TEV_SLOT(A, remote_device_properties_cb);
  TEV_SLOT(A, device_found_cb);
  TEV_SLOT(A, discovery_state_changed_cb);
  TEV_SLOT(A, pin_request_cb);
  TEV_SLOT(A, ssp_request_cb);
  TEV_SLOT(A, bond_state_changed_cb);
  TEV_SLOT(A, address_consolidate_cb);
  TEV_SLOT(A, le_address_associate_cb);
  TEV_SLOT(A, acl_state_changed_cb);
  TEV_SLOT(A, thread_evt_cb);
  TEV_SLOT(A, dut_mode_recv_cb);
  TEV_SLOT(A, le_test_mode_cb);
  TEV_SLOT(A, energy_info_cb);
  TEV_SLOT(A, link_quality_report_cb);
  TEV_SLOT(A, generate_local_oob_data_cb);
  TEV_SLOT(A, switch_buffer_size_cb);
  TEV_SLOT(A, switch_codec_cb);

  using C = btgatt_client_callbacks_t;
  TEV_SLOT(C, register_client_cb);
  TEV_SLOT(C, open_cb);
  TEV_SLOT(C, close_cb);
  TEV_SLOT(C, search_complete_cb);
  TEV_SLOT(C, register_for_notification_cb);
  TEV_SLOT(C, notify_cb);
  TEV_SLOT(C, read_characteristic_cb);
  TEV_SLOT(C, write_characteristic_cb);
  TEV_SLOT(C, read_descriptor_cb);
  TEV_SLOT(C, write_descriptor_cb);
  TEV_SLOT(C, execute_write_cb);
  TEV_SLOT(C, read_remote_rssi_cb);
  TEV_SLOT(C, configure_mtu_cb);
  TEV_SLOT(C, congestion_cb);
  TEV_SLOT(C, get_gatt_db_cb);
  TEV_SLOT(C, services_removed_cb);
  TEV_SLOT(C, services_added_cb);
  TEV_SLOT(C, phy_updated_cb);
  TEV_SLOT(C, conn_updated_cb);
  TEV_SLOT(C, service_changed_cb);

  using S = btgatt_server_callbacks_t;
  TEV_SLOT(S, register_server_cb);
  TEV_SLOT(S, connection_cb);
  TEV_SLOT(S, service_added_cb);
  TEV_SLOT(S, service_stopped_cb);
  TEV_SLOT(S, service_deleted_cb);
  TEV_SLOT(S, request_read_characteristic_cb);
  TEV_SLOT(S, request_read_descriptor_cb);
  TEV_SLOT(S, request_write_characteristic_cb);
  TEV_SLOT(S, request_write_descriptor_cb);
  TEV_SLOT(S, request_exec_write_cb);
  TEV_SLOT(S, response_confirmation_cb);
  TEV_SLOT(S, indication_sent_cb);
  TEV_SLOT(S, congestion_cb);
  TEV_SLOT(S, mtu_changed_cb);
  TEV_SLOT(S, phy_updated_cb);
  TEV_SLOT(S, conn_updated_cb);

  using L = btgatt_scanner_callbacks_t;
  TEV_SLOT(L, scan_result_cb);
  TEV_SLOT(L, batchscan_reports_cb);
  TEV_SLOT(L, batchscan_threshold_cb);
  TEV_SLOT(L, track_adv_event_cb);
#undef TEV_SLOT
}

template <typename Sink>
CallbackTables<Sink>::CallbackTables() {
  adapter.size = sizeof(adapter);
  CallbackTables& tables = *this;
  ForEachSlot([&tables](auto slot, const char*) { wiring::fill<Sink>(slot, tables.TableFor(slot)); });
  gatt = {sizeof(gatt), &client, &server, &scanner};
}

}  // namespace testing
}  // namespace tev
