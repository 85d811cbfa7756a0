// Every slot of the stack's tables, decoded: the one place that names each argument.
#include <cstring>
#include <type_traits>

#include "call_report.h"
#include "tev/testing/stack/fields.h"
#include "tev/testing/stack/stack_tables.h"

namespace tev {
namespace testing {
namespace {

using Numbers = std::initializer_list<std::pair<const char*, int64_t>>;

// An enum argument as the bits the library passed: a value outside the enumeration is what the
// checks are for, and reading it as the enum type would be undefined.
template <typename E>
int64_t raw(const E& value) {
  std::underlying_type_t<E> bits;
  std::memcpy(&bits, &value, sizeof(bits));
  return bits;
}

CallReport bt(const char* slot) { return CallReport(Table::kAdapter, slot); }
CallReport client(const char* slot) { return CallReport(Table::kGattClient, slot); }
CallReport server(const char* slot) { return CallReport(Table::kGattServer, slot); }
CallReport scanner(const char* slot) { return CallReport(Table::kGattScanner, slot); }

// A two-state enumeration the library maps, with the names of its states.
CallReport& state(CallReport& report, const char* name, int64_t value,
                  std::initializer_list<const char*> labels) {
  const bool known = value >= 0 && static_cast<size_t>(value) < labels.size();
  return report.Num(name, value, known ? labels.begin()[value] : "").Range(name, value, 0, 1);
}

std::string bdname(const bt_bdname_t* name) {
  if (!name) return "";
  const char* text = reinterpret_cast<const char*>(name->name);
  return std::string(text, strnlen(text, sizeof(name->name)));
}

void read(CallReport report, int connId, int status, const btgatt_read_params_t* params) {
  report.Nums({{"conn_id", connId}, {"status", status}});
  if (params) {
    report.Nums({{"handle", params->handle}, {"len", params->value.len}});
    report.Num("value_type", params->value_type).Text(std::to_string(params->status));
    report.Value("value", params->value.value, params->value.len);
  } else {
    report.Problem("read parameters are null").Text("null");
  }
  report.Send();
}

void written(CallReport report, int connId, int status, uint16_t handle, uint16_t len,
             const uint8_t* value) {
  report.Nums({{"conn_id", connId}, {"status", status}, {"handle", handle}, {"len", len}});
  report.Text(value ? "value" : "null").Value("value", value, len, false).Send();
}

void requested(CallReport& report, int connId, int transId, const RawAddress& addr, int handle,
               int offset) {
  report.Nums({{"conn_id", connId}, {"trans_id", transId}}).Addr("addr", &addr);
  report.Nums({{"attr_handle", handle}, {"offset", offset}});
}

void requestWrite(CallReport report, int connId, int transId, const RawAddress& addr, int handle,
                  int offset, bool needRsp, bool isPrep, const uint8_t* value, size_t length) {
  requested(report, connId, transId, addr, handle, offset);
  report.Nums({{"need_rsp", needRsp}, {"is_prep", isPrep}});
  report.Only(NumberField("len", static_cast<int64_t>(length))).Bytes("value", value, length);
  report.Send();
}

void phyUpdated(CallReport report, int connId, uint8_t tx, uint8_t rx, uint8_t status) {
  report.Nums({{"conn_id", connId}, {"tx_phy", tx}, {"rx_phy", rx}, {"status", status}}).Send();
}

void connUpdated(CallReport report, int connId, uint16_t interval, uint16_t latency,
                 uint16_t timeout, uint8_t status) {
  report.Nums({{"conn_id", connId}, {"interval", interval}, {"latency", latency}});
  report.Nums({{"timeout", timeout}, {"status", status}}).Send();
}

}  // namespace

struct CallDecoder {
  using A = bt_callbacks_t;
  using C = btgatt_client_callbacks_t;
  using S = btgatt_server_callbacks_t;
  using L = btgatt_scanner_callbacks_t;

  // bt_callbacks_t
  static void Called(Slot<&A::adapter_state_changed_cb>, bt_state_t value) {
    CallReport report = bt("adapter_state_changed_cb");
    state(report, "state", raw(value), {"off", "on"}).Send();
  }
  static void Called(Slot<&A::adapter_properties_cb>, bt_status_t status, int count,
                     bt_property_t* props) {
    bt("adapter_properties_cb")
        .Status("status", raw(status))
        .Num("count", count)
        .Properties(count, props)
        .Send();
  }
  static void Called(Slot<&A::remote_device_properties_cb>, bt_status_t status, RawAddress* addr,
                     int count, bt_property_t* props) {
    CallReport report = bt("remote_device_properties_cb");
    report.Status("status", raw(status)).Addr("addr", addr).Num("count", count);
    report.Properties(count, props).Send();
  }
  static void Called(Slot<&A::device_found_cb>, int count, bt_property_t* props) {
    bt("device_found_cb").Num("count", count).Properties(count, props).Send();
  }
  static void Called(Slot<&A::discovery_state_changed_cb>, bt_discovery_state_t value) {
    CallReport report = bt("discovery_state_changed_cb");
    state(report, "state", raw(value), {"stopped", "started"}).Send();
  }
  static void Called(Slot<&A::pin_request_cb>, RawAddress* addr, bt_bdname_t* name, uint32_t cod,
                     bool min16) {
    CallReport report = bt("pin_request_cb");
    report.Addr("addr", addr).Only(TextField("name", bdname(name)));
    report.Nums({{"cod", cod}, {"min_16_digit", min16}}).Send();
  }
  static void Called(Slot<&A::ssp_request_cb>, RawAddress* addr, bt_bdname_t* name, uint32_t cod,
                     bt_ssp_variant_t variant, uint32_t passkey) {
    CallReport report = bt("ssp_request_cb");
    report.Addr("addr", addr).Only(TextField("name", bdname(name)));
    report.Nums({{"cod", cod}, {"variant", raw(variant)}, {"pass_key", passkey}}).Send();
  }
  static void Called(Slot<&A::bond_state_changed_cb>, bt_status_t status, RawAddress* addr,
                     bt_bond_state_t value, int reason) {
    const int64_t bond = raw(value);
    const char* labels[] = {"none", "bonding", "bonded"};
    CallReport report = bt("bond_state_changed_cb");
    report.Status("status", raw(status)).Addr("addr", addr);
    report.Num("state", bond, bond >= 0 && bond <= 2 ? labels[bond] : "");
    report.Num("fail_reason", reason).Send();
  }
  static void Called(Slot<&A::address_consolidate_cb>, RawAddress* main, RawAddress* secondary) {
    bt("address_consolidate_cb").Addr("main_addr", main).Addr("secondary_addr", secondary).Send();
  }
  static void Called(Slot<&A::le_address_associate_cb>, RawAddress* main, RawAddress* secondary) {
    bt("le_address_associate_cb").Addr("main_addr", main).Addr("secondary_addr", secondary).Send();
  }
  static void Called(Slot<&A::acl_state_changed_cb>, bt_status_t status, RawAddress* addr,
                     bt_acl_state_t value, int linkType, bt_hci_error_code_t reason) {
    CallReport report = bt("acl_state_changed_cb");
    report.Status("status", raw(status)).Addr("addr", addr);
    state(report, "state", raw(value), {"connected", "disconnected"});
    report.Nums({{"transport_link_type", linkType}, {"hci_reason", reason}}).Send();
  }
  static void Called(Slot<&A::thread_evt_cb>, bt_cb_thread_evt evt) {
    CallReport report = bt("thread_evt_cb");
    state(report, "evt", raw(evt), {"associate", "disassociate"}).Send();
  }
  static void Called(Slot<&A::dut_mode_recv_cb>, uint16_t opcode, uint8_t* buf, uint8_t len) {
    bt("dut_mode_recv_cb").Num("opcode", opcode).Bytes("data", buf, len).Send();
  }
  static void Called(Slot<&A::le_test_mode_cb>, bt_status_t status, uint16_t packets) {
    bt("le_test_mode_cb").Status("status", raw(status)).Num("num_packets", packets).Send();
  }
  static void Called(Slot<&A::energy_info_cb>, bt_activity_energy_info* info, bt_uid_traffic_t*) {
    CallReport report = bt("energy_info_cb");
    if (info) {
      report.Only(NumberField("status", info->status));
      report.Only(NumberField("tx_time", static_cast<int64_t>(info->tx_time)));
      report.Only(NumberField("rx_time", static_cast<int64_t>(info->rx_time)));
    }
    report.Send();
  }
  static void Called(Slot<&A::link_quality_report_cb>, uint64_t timestamp, int reportId, int rssi,
                     int snr, int retransmissions, int notReceived, int nacks) {
    CallReport report = bt("link_quality_report_cb");
    report.Nums({{"timestamp", static_cast<int64_t>(timestamp)}, {"report_id", reportId}});
    report.Nums({{"rssi", rssi}, {"snr", snr}, {"retransmission_count", retransmissions}});
    report.Nums({{"packets_not_receive_count", notReceived}});
    report.Nums({{"negative_acknowledgement_count", nacks}}).Send();
  }
  static void Called(Slot<&A::generate_local_oob_data_cb>, tBT_TRANSPORT transport, bt_oob_data_t) {
    bt("generate_local_oob_data_cb").Num("transport", transport).Send();
  }
  static void Called(Slot<&A::switch_buffer_size_cb>, bool lowLatency) {
    bt("switch_buffer_size_cb").Num("is_low_latency", lowLatency).Send();
  }
  static void Called(Slot<&A::switch_codec_cb>, bool lowLatency) {
    bt("switch_codec_cb").Num("is_low_latency", lowLatency).Send();
  }

  // btgatt_client_callbacks_t
  static void Called(Slot<&C::register_client_cb>, int status, int clientIf,
                     const bluetooth::Uuid& uuid) {
    client("register_client_cb")
        .Nums({{"status", status}, {"client_if", clientIf}})
        .Uuid("uuid", uuid)
        .Send();
  }
  static void Called(Slot<&C::open_cb>, int connId, int status, int clientIf,
                     const RawAddress& addr) {
    client("open_cb")
        .Nums({{"conn_id", connId}, {"status", status}, {"client_if", clientIf}})
        .Addr("addr", &addr)
        .Send();
  }
  static void Called(Slot<&C::close_cb>, int connId, int status, int clientIf,
                     const RawAddress& addr) {
    client("close_cb")
        .Nums({{"conn_id", connId}, {"status", status}, {"client_if", clientIf}})
        .Addr("addr", &addr)
        .Send();
  }
  static void Called(Slot<&C::search_complete_cb>, int connId, int status) {
    client("search_complete_cb").Nums({{"conn_id", connId}, {"status", status}}).Send();
  }
  static void Called(Slot<&C::register_for_notification_cb>, int connId, int registered, int status,
                     uint16_t handle) {
    CallReport report = client("register_for_notification_cb");
    report.Num("conn_id", connId)
        .Num("registered", registered)
        .Range("registered", registered, 0, 1);
    report.Nums({{"status", status}, {"handle", handle}}).Send();
  }
  static void Called(Slot<&C::notify_cb>, int connId, const btgatt_notify_params_t& params) {
    CallReport report = client("notify_cb");
    report.Num("conn_id", connId).Addr("addr", &params.bda);
    report.Nums({{"handle", params.handle}, {"len", params.len}});
    report.Num("is_notify", params.is_notify).Range("is_notify", params.is_notify, 0, 1);
    report.Value("value", params.value, params.len).Send();
  }
  static void Called(Slot<&C::read_characteristic_cb>, int connId, int status,
                     btgatt_read_params_t* params) {
    read(client("read_characteristic_cb"), connId, status, params);
  }
  static void Called(Slot<&C::write_characteristic_cb>, int connId, int status, uint16_t handle,
                     uint16_t len, const uint8_t* value) {
    written(client("write_characteristic_cb"), connId, status, handle, len, value);
  }
  static void Called(Slot<&C::read_descriptor_cb>, int connId, int status,
                     const btgatt_read_params_t& params) {
    read(client("read_descriptor_cb"), connId, status, &params);
  }
  static void Called(Slot<&C::write_descriptor_cb>, int connId, int status, uint16_t handle,
                     uint16_t len, const uint8_t* value) {
    written(client("write_descriptor_cb"), connId, status, handle, len, value);
  }
  static void Called(Slot<&C::execute_write_cb>, int connId, int status) {
    client("execute_write_cb").Nums({{"conn_id", connId}, {"status", status}}).Send();
  }
  static void Called(Slot<&C::read_remote_rssi_cb>, int clientIf, const RawAddress& addr, int rssi,
                     int status) {
    CallReport report = client("read_remote_rssi_cb");
    report.Num("client_if", clientIf).Addr("addr", &addr);
    report.Nums({{"rssi", rssi}, {"status", status}}).Send();
  }
  static void Called(Slot<&C::configure_mtu_cb>, int connId, int status, int mtu) {
    client("configure_mtu_cb").Nums({{"conn_id", connId}, {"status", status}, {"mtu", mtu}}).Send();
  }
  static void Called(Slot<&C::congestion_cb>, int connId, bool congested) {
    client("congestion_cb").Nums({{"conn_id", connId}, {"congested", congested}}).Send();
  }
  static void Called(Slot<&C::get_gatt_db_cb>, int connId, const btgatt_db_element_t* db,
                     int count) {
    client("get_gatt_db_cb")
        .Nums({{"conn_id", connId}, {"count", count}})
        .Elements(db, count)
        .Send();
  }
  static void Called(Slot<&C::services_removed_cb>, int connId, uint16_t start, uint16_t end) {
    CallReport report = client("services_removed_cb");
    report.Nums({{"conn_id", connId}, {"start_handle", start}, {"end_handle", end}});
    if (start > end) report.Problem("start handle after end handle");
    report.Send();
  }
  static void Called(Slot<&C::services_added_cb>, int connId, const btgatt_db_element_t& added,
                     int count) {
    CallReport report = client("services_added_cb");
    report.Num("conn_id", connId).Text(ElementText(added)).Num("count", count);
    std::vector<Field> fields;
    AppendDbElements(&added, 1, &fields);
    for (Field& field : fields) report.Only(std::move(field));
    report.Send();
  }
  static void Called(Slot<&C::phy_updated_cb>, int connId, uint8_t tx, uint8_t rx, uint8_t status) {
    phyUpdated(client("phy_updated_cb"), connId, tx, rx, status);
  }
  static void Called(Slot<&C::conn_updated_cb>, int connId, uint16_t interval, uint16_t latency,
                     uint16_t timeout, uint8_t status) {
    connUpdated(client("conn_updated_cb"), connId, interval, latency, timeout, status);
  }
  static void Called(Slot<&C::service_changed_cb>, int connId) {
    client("service_changed_cb").Num("conn_id", connId).Send();
  }

  // btgatt_server_callbacks_t
  static void Called(Slot<&S::register_server_cb>, int status, int serverIf,
                     const bluetooth::Uuid& uuid) {
    server("register_server_cb")
        .Nums({{"status", status}, {"server_if", serverIf}})
        .Uuid("uuid", uuid)
        .Send();
  }
  static void Called(Slot<&S::connection_cb>, int connId, int serverIf, int connected,
                     const RawAddress& addr) {
    CallReport report = server("connection_cb");
    report.Nums({{"conn_id", connId}, {"server_if", serverIf}, {"connected", connected}});
    report.Range("connected", connected, 0, 1).Addr("addr", &addr).Send();
  }
  static void Called(Slot<&S::service_added_cb>, int status, int serverIf,
                     const btgatt_db_element_t* service, size_t count) {
    const auto n = static_cast<int64_t>(count);
    CallReport report = server("service_added_cb");
    report.Nums({{"status", status}, {"server_if", serverIf}, {"count", n}});
    report.Elements(service, n).Send();
  }
  static void Called(Slot<&S::service_stopped_cb>, int status, int serverIf, int handle) {
    CallReport report = server("service_stopped_cb");
    report.Nums({{"status", status}, {"server_if", serverIf}, {"srvc_handle", handle}}).Send();
  }
  static void Called(Slot<&S::service_deleted_cb>, int status, int serverIf, int handle) {
    CallReport report = server("service_deleted_cb");
    report.Nums({{"status", status}, {"server_if", serverIf}, {"srvc_handle", handle}}).Send();
  }
  static void Called(Slot<&S::request_read_characteristic_cb>, int connId, int transId,
                     const RawAddress& addr, int handle, int offset, bool isLong) {
    CallReport report = server("request_read_characteristic_cb");
    requested(report, connId, transId, addr, handle, offset);
    report.Num("is_long", isLong).Send();
  }
  static void Called(Slot<&S::request_read_descriptor_cb>, int connId, int transId,
                     const RawAddress& addr, int handle, int offset, bool isLong) {
    CallReport report = server("request_read_descriptor_cb");
    requested(report, connId, transId, addr, handle, offset);
    report.Num("is_long", isLong).Send();
  }
  static void Called(Slot<&S::request_write_characteristic_cb>, int connId, int transId,
                     const RawAddress& addr, int handle, int offset, bool needRsp, bool isPrep,
                     const uint8_t* value, size_t length) {
    requestWrite(server("request_write_characteristic_cb"), connId, transId, addr, handle, offset,
                 needRsp, isPrep, value, length);
  }
  static void Called(Slot<&S::request_write_descriptor_cb>, int connId, int transId,
                     const RawAddress& addr, int handle, int offset, bool needRsp, bool isPrep,
                     const uint8_t* value, size_t length) {
    requestWrite(server("request_write_descriptor_cb"), connId, transId, addr, handle, offset,
                 needRsp, isPrep, value, length);
  }
  static void Called(Slot<&S::request_exec_write_cb>, int connId, int transId,
                     const RawAddress& addr, int execute) {
    CallReport report = server("request_exec_write_cb");
    report.Nums({{"conn_id", connId}, {"trans_id", transId}}).Addr("addr", &addr);
    report.Num("exec_write", execute).Send();
  }
  static void Called(Slot<&S::response_confirmation_cb>, int status, int handle) {
    server("response_confirmation_cb").Nums({{"status", status}, {"handle", handle}}).Send();
  }
  static void Called(Slot<&S::indication_sent_cb>, int connId, int status) {
    server("indication_sent_cb").Nums({{"conn_id", connId}, {"status", status}}).Send();
  }
  static void Called(Slot<&S::congestion_cb>, int connId, bool congested) {
    server("congestion_cb").Nums({{"conn_id", connId}, {"congested", congested}}).Send();
  }
  static void Called(Slot<&S::mtu_changed_cb>, int connId, int mtu) {
    server("mtu_changed_cb").Nums({{"conn_id", connId}, {"mtu", mtu}}).Send();
  }
  static void Called(Slot<&S::phy_updated_cb>, int connId, uint8_t tx, uint8_t rx, uint8_t status) {
    phyUpdated(server("phy_updated_cb"), connId, tx, rx, status);
  }
  static void Called(Slot<&S::conn_updated_cb>, int connId, uint16_t interval, uint16_t latency,
                     uint16_t timeout, uint8_t status) {
    connUpdated(server("conn_updated_cb"), connId, interval, latency, timeout, status);
  }

  // btgatt_scanner_callbacks_t
  static void Called(Slot<&L::scan_result_cb>, uint16_t eventType, uint8_t addrType,
                     RawAddress* addr, uint8_t primaryPhy, uint8_t secondaryPhy, uint8_t sid,
                     int8_t txPower, int8_t rssi, uint16_t periodicInterval,
                     const std::vector<uint8_t>& data, RawAddress* originalAddr) {
    CallReport report = scanner("scan_result_cb");
    report.Nums({{"event_type", eventType}, {"addr_type", addrType}}).Addr("addr", addr);
    report.Nums({{"primary_phy", primaryPhy}, {"secondary_phy", secondaryPhy}});
    report.Nums({{"advertising_sid", sid}, {"tx_power", txPower}, {"rssi", rssi}});
    report.Num("periodic_adv_int", periodicInterval);
    const std::string name = AdvertisedName(data);
    if (!name.empty()) report.Only(TextField("name", name));
    report.Bytes("adv_data", data.data(), data.size()).Addr("original_addr", originalAddr).Send();
  }
  static void Called(Slot<&L::batchscan_reports_cb>, int clientIf, int status, int format,
                     int records, const std::vector<uint8_t>& data) {
    CallReport report = scanner("batchscan_reports_cb");
    report.Nums({{"client_if", clientIf}, {"status", status}, {"report_format", format}});
    report.Num("num_records", records).Bytes("data", data.data(), data.size()).Send();
  }
  static void Called(Slot<&L::batchscan_threshold_cb>, int clientIf) {
    scanner("batchscan_threshold_cb").Num("client_if", clientIf).Send();
  }
  static void Called(Slot<&L::track_adv_event_cb>, btgatt_track_adv_info_t* info) {
    CallReport report = scanner("track_adv_event_cb");
    if (info) {
      report.Only(NumberField("client_if", info->client_if));
      report.Only(NumberField("filt_index", info->filt_index));
      report.Only(AddressField("addr", &info->bd_addr));
    }
    report.Send();
  }
};

template struct CallbackTables<CallDecoder>;

void SendInlineResult(Table table, const std::string& slot, const std::vector<std::string>& names,
                      const std::vector<int64_t>& values) {
  CallReport report(table, slot.c_str());
  report.Inline();
  for (size_t i = 0; i < values.size() && i < names.size(); ++i) {
    report.Num(names[i].c_str(), values[i]);
  }
  report.Send();
}

BleScannerInterface::RegisterCallback ScannerRegisteredCallback() {
  return InlineResult<uint8_t, uint8_t>(Table::kGattScanner, "register_cb",
                                        {"scanner_id", "status"});
}

BleScannerInterface::Callback ScannerStatusCallback(const std::string& slot) {
  return InlineResult<uint8_t>(Table::kGattScanner, slot, {"status"});
}

BleScannerInterface::EnableCallback ScanFilterEnableCallback() {
  return InlineResult<uint8_t, uint8_t>(Table::kGattScanner, "filter_enable_cb",
                                        {"action", "status"});
}

base::Callback<void(uint8_t, uint8_t, uint8_t)> ReadPhyCallback(Table table) {
  return InlineResult<uint8_t, uint8_t, uint8_t>(table, "read_phy_cb",
                                                 {"tx_phy", "rx_phy", "status"});
}

}  // namespace testing
}  // namespace tev
