#pragma once

#include <hardware/bluetooth.h>
#include <hardware/bt_gatt.h>

#include <type_traits>

namespace tev {
namespace testing {

// One slot of a callback table, as a type: `Slot<&btgatt_client_callbacks_t::notify_cb>`.
template <auto Member>
struct Slot {};

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
};

namespace wiring {

template <typename Sink, auto Member, typename Function>
struct Thunk;

template <typename Sink, auto Member, typename... Args>
struct Thunk<Sink, Member, void (*)(Args...)> {
  static void Call(Args... args) { Sink::Called(Slot<Member>(), args...); }
};

template <typename Sink, auto Member, typename Table>
void fill(Table& table) {
  table.*Member = &Thunk<Sink, Member, std::remove_reference_t<decltype(table.*Member)>>::Call;
}

}  // namespace wiring

template <typename Sink>
CallbackTables<Sink>::CallbackTables() {
  using wiring::fill;
  using A = bt_callbacks_t;
  adapter.size = sizeof(adapter);
  fill<Sink, &A::adapter_state_changed_cb>(adapter);
  fill<Sink, &A::adapter_properties_cb>(adapter);
  fill<Sink, &A::remote_device_properties_cb>(adapter);
  fill<Sink, &A::device_found_cb>(adapter);
  fill<Sink, &A::discovery_state_changed_cb>(adapter);
  fill<Sink, &A::pin_request_cb>(adapter);
  fill<Sink, &A::ssp_request_cb>(adapter);
  fill<Sink, &A::bond_state_changed_cb>(adapter);
  fill<Sink, &A::address_consolidate_cb>(adapter);
  fill<Sink, &A::le_address_associate_cb>(adapter);
  fill<Sink, &A::acl_state_changed_cb>(adapter);
  fill<Sink, &A::thread_evt_cb>(adapter);
  fill<Sink, &A::dut_mode_recv_cb>(adapter);
  fill<Sink, &A::le_test_mode_cb>(adapter);
  fill<Sink, &A::energy_info_cb>(adapter);
  fill<Sink, &A::link_quality_report_cb>(adapter);
  fill<Sink, &A::generate_local_oob_data_cb>(adapter);
  fill<Sink, &A::switch_buffer_size_cb>(adapter);
  fill<Sink, &A::switch_codec_cb>(adapter);

  using C = btgatt_client_callbacks_t;
  fill<Sink, &C::register_client_cb>(client);
  fill<Sink, &C::open_cb>(client);
  fill<Sink, &C::close_cb>(client);
  fill<Sink, &C::search_complete_cb>(client);
  fill<Sink, &C::register_for_notification_cb>(client);
  fill<Sink, &C::notify_cb>(client);
  fill<Sink, &C::read_characteristic_cb>(client);
  fill<Sink, &C::write_characteristic_cb>(client);
  fill<Sink, &C::read_descriptor_cb>(client);
  fill<Sink, &C::write_descriptor_cb>(client);
  fill<Sink, &C::execute_write_cb>(client);
  fill<Sink, &C::read_remote_rssi_cb>(client);
  fill<Sink, &C::configure_mtu_cb>(client);
  fill<Sink, &C::congestion_cb>(client);
  fill<Sink, &C::get_gatt_db_cb>(client);
  fill<Sink, &C::services_removed_cb>(client);
  fill<Sink, &C::services_added_cb>(client);
  fill<Sink, &C::phy_updated_cb>(client);
  fill<Sink, &C::conn_updated_cb>(client);
  fill<Sink, &C::service_changed_cb>(client);

  using S = btgatt_server_callbacks_t;
  fill<Sink, &S::register_server_cb>(server);
  fill<Sink, &S::connection_cb>(server);
  fill<Sink, &S::service_added_cb>(server);
  fill<Sink, &S::service_stopped_cb>(server);
  fill<Sink, &S::service_deleted_cb>(server);
  fill<Sink, &S::request_read_characteristic_cb>(server);
  fill<Sink, &S::request_read_descriptor_cb>(server);
  fill<Sink, &S::request_write_characteristic_cb>(server);
  fill<Sink, &S::request_write_descriptor_cb>(server);
  fill<Sink, &S::request_exec_write_cb>(server);
  fill<Sink, &S::response_confirmation_cb>(server);
  fill<Sink, &S::indication_sent_cb>(server);
  fill<Sink, &S::congestion_cb>(server);
  fill<Sink, &S::mtu_changed_cb>(server);
  fill<Sink, &S::phy_updated_cb>(server);
  fill<Sink, &S::conn_updated_cb>(server);

  using L = btgatt_scanner_callbacks_t;
  fill<Sink, &L::scan_result_cb>(scanner);
  fill<Sink, &L::batchscan_reports_cb>(scanner);
  fill<Sink, &L::batchscan_threshold_cb>(scanner);
  fill<Sink, &L::track_adv_event_cb>(scanner);

  gatt = {sizeof(gatt), &client, &server, &scanner};
}

}  // namespace testing
}  // namespace tev
