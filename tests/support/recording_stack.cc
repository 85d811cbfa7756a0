#include "recording_stack.h"

#include <gtest/gtest.h>

#include <sstream>

#include "base/strings/stringprintf.h"
#include "tev/testing/event.h"
#include "tev/testing/thread_name.h"

namespace tev {
namespace testing {
namespace {

RecordingStack* gStack = nullptr;

std::string hex(const uint8_t* bytes, size_t length) {
  std::string text;
  for (size_t i = 0; bytes && i < length; ++i) base::StringAppendF(&text, "%02x", bytes[i]);
  return text;
}

std::string addr(const RawAddress* address) { return address ? address->ToString() : "null"; }

std::string property(const bt_property_t& p) {
  const auto* bytes = static_cast<const uint8_t*>(p.val);
  std::string text = std::to_string(p.type) + ":";
  if (p.type == BT_PROPERTY_BDNAME || p.type == BT_PROPERTY_REMOTE_FRIENDLY_NAME) {
    return text + "\"" + std::string(reinterpret_cast<const char*>(bytes)) + "\"";
  }
  if (p.type == BT_PROPERTY_BDADDR && p.len == 6) {
    return text + addr(static_cast<const RawAddress*>(p.val));
  }
  return text + hex(bytes, static_cast<size_t>(p.len));
}

std::string properties(int count, const bt_property_t* props) {
  std::string text = "[";
  for (int i = 0; props && i < count; ++i) text += (i ? ", " : "") + property(props[i]);
  return text + "]";
}

std::string element(const btgatt_db_element_t& e) {
  return base::StringPrintf("{%u %d %u %u %u %u %s}", e.id, e.type, e.attribute_handle,
                            e.start_handle, e.end_handle, e.properties, e.uuid.ToString().c_str());
}

std::string elements(const btgatt_db_element_t* list, size_t count) {
  std::string text = "[";
  for (size_t i = 0; list && i < count; ++i) text += (i ? ", " : "") + element(list[i]);
  return text + "]";
}

template <typename... Ts>
std::string join(const Ts&... parts) {
  std::ostringstream out;
  int index = 0;
  ((out << (index++ ? ", " : "") << parts), ...);
  return out.str();
}

template <typename... Ts>
void record(const char* name, const Ts&... parts) {
  if (gStack) gStack->Record(name, join(parts...));
}

int i(uint8_t value) { return value; }

// bt_callbacks_t
void adapter_state_changed(bt_state_t state) { record("adapter_state_changed_cb", state); }
void adapter_properties(bt_status_t status, int n, bt_property_t* props) {
  record("adapter_properties_cb", status, n, properties(n, props));
}
void remote_device_properties(bt_status_t status, RawAddress* bd_addr, int n, bt_property_t* props) {
  record("remote_device_properties_cb", status, addr(bd_addr), n, properties(n, props));
}
void device_found(int n, bt_property_t* props) {
  record("device_found_cb", n, properties(n, props));
}
void discovery_state_changed(bt_discovery_state_t state) {
  record("discovery_state_changed_cb", state);
}
void pin_request(RawAddress* bd_addr, bt_bdname_t*, uint32_t cod, bool min_16_digit) {
  record("pin_request_cb", addr(bd_addr), cod, min_16_digit);
}
void ssp_request(RawAddress* bd_addr, bt_bdname_t*, uint32_t cod, bt_ssp_variant_t variant,
                 uint32_t pass_key) {
  record("ssp_request_cb", addr(bd_addr), cod, variant, pass_key);
}
void bond_state_changed(bt_status_t status, RawAddress* bd_addr, bt_bond_state_t state,
                        int fail_reason) {
  record("bond_state_changed_cb", status, addr(bd_addr), state, fail_reason);
}
void address_consolidate(RawAddress* main_addr, RawAddress* secondary_addr) {
  record("address_consolidate_cb", addr(main_addr), addr(secondary_addr));
}
void le_address_associate(RawAddress* main_addr, RawAddress* secondary_addr) {
  record("le_address_associate_cb", addr(main_addr), addr(secondary_addr));
}
void acl_state_changed(bt_status_t status, RawAddress* bd_addr, bt_acl_state_t state,
                       int link_type, bt_hci_error_code_t hci_reason) {
  record("acl_state_changed_cb", status, addr(bd_addr), state, link_type, i(hci_reason));
}
void thread_evt(bt_cb_thread_evt evt) { record("thread_evt_cb", evt); }
void dut_mode_recv(uint16_t opcode, uint8_t* buf, uint8_t len) {
  record("dut_mode_recv_cb", opcode, hex(buf, len));
}
void le_test_mode(bt_status_t status, uint16_t num_packets) {
  record("le_test_mode_cb", status, num_packets);
}
void energy_info(bt_activity_energy_info*, bt_uid_traffic_t*) { record("energy_info_cb"); }
void link_quality_report(uint64_t timestamp, int report_id, int rssi, int snr, int retransmissions,
                         int not_received, int nacks) {
  record("link_quality_report_cb", timestamp, report_id, rssi, snr, retransmissions, not_received,
         nacks);
}
void generate_local_oob_data(tBT_TRANSPORT transport, bt_oob_data_t) {
  record("generate_local_oob_data_cb", i(transport));
}
void switch_buffer_size(bool low_latency) { record("switch_buffer_size_cb", low_latency); }
void switch_codec(bool low_latency) { record("switch_codec_cb", low_latency); }

// btgatt_client_callbacks_t
void register_client(int status, int client_if, const bluetooth::Uuid& uuid) {
  record("register_client_cb", status, client_if, uuid.ToString());
}
void open(int conn_id, int status, int client_if, const RawAddress& bda) {
  record("open_cb", conn_id, status, client_if, bda.ToString());
}
void close(int conn_id, int status, int client_if, const RawAddress& bda) {
  record("close_cb", conn_id, status, client_if, bda.ToString());
}
void search_complete(int conn_id, int status) { record("search_complete_cb", conn_id, status); }
void register_for_notification(int conn_id, int registered, int status, uint16_t handle) {
  record("register_for_notification_cb", conn_id, registered, status, handle);
}
void notify(int conn_id, const btgatt_notify_params_t& p) {
  record("notify_cb", conn_id, p.bda.ToString(), p.handle, p.len, i(p.is_notify),
         hex(p.value, std::min<size_t>(p.len, sizeof(p.value))));
}
std::string readParams(const btgatt_read_params_t& p) {
  return join(p.handle, p.value.len, p.value_type, i(p.status),
              hex(p.value.value, std::min<size_t>(p.value.len, sizeof(p.value.value))));
}
void read_characteristic(int conn_id, int status, btgatt_read_params_t* p) {
  record("read_characteristic_cb", conn_id, status, p ? readParams(*p) : "null");
}
void write_characteristic(int conn_id, int status, uint16_t handle, uint16_t len,
                          const uint8_t* value) {
  record("write_characteristic_cb", conn_id, status, handle, len, value ? "value" : "null");
}
void read_descriptor(int conn_id, int status, const btgatt_read_params_t& p) {
  record("read_descriptor_cb", conn_id, status, readParams(p));
}
void write_descriptor(int conn_id, int status, uint16_t handle, uint16_t len,
                      const uint8_t* value) {
  record("write_descriptor_cb", conn_id, status, handle, len, value ? "value" : "null");
}
void execute_write(int conn_id, int status) { record("execute_write_cb", conn_id, status); }
void read_remote_rssi(int client_if, const RawAddress& bda, int rssi, int status) {
  record("read_remote_rssi_cb", client_if, bda.ToString(), rssi, status);
}
void configure_mtu(int conn_id, int status, int mtu) {
  record("configure_mtu_cb", conn_id, status, mtu);
}
void client_congestion(int conn_id, bool congested) {
  record("client_congestion_cb", conn_id, congested);
}
void get_gatt_db(int conn_id, const btgatt_db_element_t* db, int count) {
  record("get_gatt_db_cb", conn_id, count, elements(db, count > 0 ? count : 0));
}
void services_removed(int conn_id, uint16_t start, uint16_t end) {
  record("services_removed_cb", conn_id, start, end);
}
void services_added(int conn_id, const btgatt_db_element_t& added, int count) {
  record("services_added_cb", conn_id, element(added), count);
}
void client_phy_updated(int conn_id, uint8_t tx, uint8_t rx, uint8_t status) {
  record("client_phy_updated_cb", conn_id, i(tx), i(rx), i(status));
}
void client_conn_updated(int conn_id, uint16_t interval, uint16_t latency, uint16_t timeout,
                         uint8_t status) {
  record("client_conn_updated_cb", conn_id, interval, latency, timeout, i(status));
}
void service_changed(int conn_id) { record("service_changed_cb", conn_id); }

// btgatt_server_callbacks_t
void register_server(int status, int server_if, const bluetooth::Uuid& uuid) {
  record("register_server_cb", status, server_if, uuid.ToString());
}
void connection(int conn_id, int server_if, int connected, const RawAddress& bda) {
  record("connection_cb", conn_id, server_if, connected, bda.ToString());
}
void service_added(int status, int server_if, const btgatt_db_element_t* service, size_t count) {
  record("service_added_cb", status, server_if, count, elements(service, count));
}
void service_stopped(int status, int server_if, int handle) {
  record("service_stopped_cb", status, server_if, handle);
}
void service_deleted(int status, int server_if, int handle) {
  record("service_deleted_cb", status, server_if, handle);
}
void request_read_characteristic(int conn_id, int trans_id, const RawAddress& bda, int handle,
                                 int offset, bool is_long) {
  record("request_read_characteristic_cb", conn_id, trans_id, bda.ToString(), handle, offset,
         is_long);
}
void request_read_descriptor(int conn_id, int trans_id, const RawAddress& bda, int handle,
                             int offset, bool is_long) {
  record("request_read_descriptor_cb", conn_id, trans_id, bda.ToString(), handle, offset, is_long);
}
void request_write_characteristic(int conn_id, int trans_id, const RawAddress& bda, int handle,
                                  int offset, bool need_rsp, bool is_prep, const uint8_t* value,
                                  size_t length) {
  record("request_write_characteristic_cb", conn_id, trans_id, bda.ToString(), handle, offset,
         need_rsp, is_prep, hex(value, length));
}
void request_write_descriptor(int conn_id, int trans_id, const RawAddress& bda, int handle,
                              int offset, bool need_rsp, bool is_prep, const uint8_t* value,
                              size_t length) {
  record("request_write_descriptor_cb", conn_id, trans_id, bda.ToString(), handle, offset,
         need_rsp, is_prep, hex(value, length));
}
void request_exec_write(int conn_id, int trans_id, const RawAddress& bda, int exec_write) {
  record("request_exec_write_cb", conn_id, trans_id, bda.ToString(), exec_write);
}
void response_confirmation(int status, int handle) {
  record("response_confirmation_cb", status, handle);
}
void indication_sent(int conn_id, int status) { record("indication_sent_cb", conn_id, status); }
void server_congestion(int conn_id, bool congested) {
  record("server_congestion_cb", conn_id, congested);
}
void mtu_changed(int conn_id, int mtu) { record("mtu_changed_cb", conn_id, mtu); }
void server_phy_updated(int conn_id, uint8_t tx, uint8_t rx, uint8_t status) {
  record("server_phy_updated_cb", conn_id, i(tx), i(rx), i(status));
}
void server_conn_updated(int conn_id, uint16_t interval, uint16_t latency, uint16_t timeout,
                         uint8_t status) {
  record("server_conn_updated_cb", conn_id, interval, latency, timeout, i(status));
}

// btgatt_scanner_callbacks_t
void scan_result(uint16_t event_type, uint8_t addr_type, RawAddress* bda, uint8_t primary_phy,
                 uint8_t secondary_phy, uint8_t sid, int8_t tx_power, int8_t rssi,
                 uint16_t periodic_interval, std::vector<uint8_t> adv_data,
                 RawAddress* original_bda) {
  record("scan_result_cb", event_type, i(addr_type), addr(bda), i(primary_phy), i(secondary_phy),
         i(sid), int{tx_power}, int{rssi}, periodic_interval, hex(adv_data.data(), adv_data.size()),
         addr(original_bda));
}
void batchscan_reports(int client_if, int status, int format, int num_records,
                       std::vector<uint8_t> data) {
  record("batchscan_reports_cb", client_if, status, format, num_records,
         hex(data.data(), data.size()));
}
void batchscan_threshold(int client_if) { record("batchscan_threshold_cb", client_if); }
void track_adv_event(btgatt_track_adv_info_t*) { record("track_adv_event_cb"); }

}  // namespace

RecordingStack::RecordingStack() {
  EXPECT_EQ(gStack, nullptr) << "only one RecordingStack at a time";
  callbacks_ = {sizeof(bt_callbacks_t),
                adapter_state_changed,
                adapter_properties,
                remote_device_properties,
                device_found,
                discovery_state_changed,
                pin_request,
                ssp_request,
                bond_state_changed,
                address_consolidate,
                le_address_associate,
                acl_state_changed,
                thread_evt,
                dut_mode_recv,
                le_test_mode,
                energy_info,
                link_quality_report,
                generate_local_oob_data,
                switch_buffer_size,
                switch_codec};
  client_ = {register_client,    open,           close,           search_complete,
             register_for_notification, notify,  read_characteristic, write_characteristic,
             read_descriptor,    write_descriptor, execute_write, read_remote_rssi,
             configure_mtu,      client_congestion, get_gatt_db,  services_removed,
             services_added,     client_phy_updated, client_conn_updated, service_changed};
  server_ = {register_server,
             connection,
             service_added,
             service_stopped,
             service_deleted,
             request_read_characteristic,
             request_read_descriptor,
             request_write_characteristic,
             request_write_descriptor,
             request_exec_write,
             response_confirmation,
             indication_sent,
             server_congestion,
             mtu_changed,
             server_phy_updated,
             server_conn_updated};
  scanner_ = {scan_result, batchscan_reports, batchscan_threshold, track_adv_event};
  gatt_ = {sizeof(btgatt_callbacks_t), &client_, &server_, &scanner_};
  gStack = this;
}

RecordingStack::~RecordingStack() { gStack = nullptr; }

void RecordingStack::Record(const char* name, std::string args) {
  std::lock_guard<std::mutex> lock(mutex_);
  records_.push_back(CallbackRecord{name, std::move(args), CurrentThreadName()});
  recorded_cv_.notify_all();
}

std::vector<CallbackRecord> RecordingStack::Records() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return records_;
}

std::vector<std::string> RecordingStack::Calls() const {
  std::vector<std::string> calls;
  for (const CallbackRecord& record : Records()) calls.push_back(record.text());
  return calls;
}

std::vector<std::string> RecordingStack::Calls(const std::string& name) const {
  std::vector<std::string> calls;
  for (const CallbackRecord& record : Records()) {
    if (record.name == name) calls.push_back(record.text());
  }
  return calls;
}

size_t RecordingStack::Count(const std::string& name) const { return Calls(name).size(); }

CallbackRecord RecordingStack::WaitFor(const std::string& name, size_t occurrence,
                                       const char* file, int line) {
  std::unique_lock<std::mutex> lock(mutex_);
  CallbackRecord found;
  const bool arrived = recorded_cv_.wait_for(lock, kDeadlockGuardTimeout, [&] {
    size_t seen = 0;
    for (const CallbackRecord& record : records_) {
      if (record.name == name && ++seen == occurrence) {
        found = record;
        return true;
      }
    }
    return false;
  });
  if (!arrived) {
    ADD_FAILURE_AT(file, line) << "callback " << name << " #" << occurrence << " never arrived";
  }
  return found;
}

void RecordingStack::Clear() {
  std::lock_guard<std::mutex> lock(mutex_);
  records_.clear();
}

}  // namespace testing
}  // namespace tev
