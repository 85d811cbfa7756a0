#include "callback_tables.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <shared_mutex>
#include <type_traits>
#include <utility>

#include "argument_checks.h"
#include "base/bind.h"
#include "record_fields.h"

namespace tev {
namespace bttev {
namespace {

// Deliveries hold the lock shared, so that detaching the sink waits for those in progress.
std::shared_mutex gSinkMutex;
CallbackSink* gSink = nullptr;

// Collects one callback's fields and problems, then hands the event to the sink.
class Report {
 public:
  Report(Table table, const char* slot) {
    event_.table = table;
    event_.slot = slot;
  }

  Report& Num(const char* name, int64_t value, const std::string& label = "") {
    event_.fields.push_back(NumberField(name, value, label));
    return *this;
  }
  Report& Status(const char* name, int64_t status) {
    CheckStatus(static_cast<int>(status), &event_.problems);
    return Num(name, status, StatusLabel(static_cast<int>(status)));
  }
  Report& Addr(const char* name, const RawAddress* address) {
    CheckAddressPresent(name, address, &event_.problems);
    event_.fields.push_back(AddressField(name, address));
    return *this;
  }
  Report& Uuid(const char* name, const bluetooth::Uuid& uuid) {
    event_.fields.push_back(UuidField(name, uuid));
    return *this;
  }
  Report& Text(const char* name, const std::string& text) {
    event_.fields.push_back(TextField(name, text));
    return *this;
  }
  Report& Bytes(const char* name, const uint8_t* bytes, size_t length) {
    event_.fields.push_back(BytesField(name, bytes, length));
    return *this;
  }
  Report& Range(const char* what, int64_t value, int64_t low, int64_t high) {
    CheckRange(what, value, low, high, &event_.problems);
    return *this;
  }
  Report& Inline() {
    event_.inlineResult = true;
    return *this;
  }
  std::vector<Field>* fields() { return &event_.fields; }
  Problems* problems() { return &event_.problems; }

  void Send() {
    std::shared_lock<std::shared_mutex> lock(gSinkMutex);
    if (!gSink) return;
    event_.thread = CurrentThread();
    gSink->OnCallback(std::move(event_));
  }

 private:
  CallbackEvent event_;
};

// An enum argument as the bits the HAL passed: a value outside the enumeration is exactly what
// the checks are for, and reading it as the enum type would be undefined.
template <typename E>
int64_t raw(const E& value) {
  std::underlying_type_t<E> bits;
  std::memcpy(&bits, &value, sizeof(bits));
  return bits;
}

Report bt(const char* slot) { return Report(Table::kAdapter, slot); }
Report client(const char* slot) { return Report(Table::kGattClient, slot); }
Report server(const char* slot) { return Report(Table::kGattServer, slot); }
Report scanner(const char* slot) { return Report(Table::kGattScanner, slot); }

const char* onOff(int64_t state) { return state == BT_STATE_ON ? "on" : state == BT_STATE_OFF ? "off" : ""; }

const char* bondLabel(int64_t state) {
  switch (state) {
    case BT_BOND_STATE_NONE:
      return "none";
    case BT_BOND_STATE_BONDING:
      return "bonding";
    case BT_BOND_STATE_BONDED:
      return "bonded";
  }
  return "";
}

// What a controller reports when it has no RSSI to give.
constexpr int kRssiUnavailable = 127;

// ATT MTUs: LE's minimum, and what a 512-byte attribute value needs at most.
constexpr int64_t kMinMtu = 23;
constexpr int64_t kMaxMtu = 517;

std::string bdname(const bt_bdname_t* name) {
  if (!name) return "";
  const char* text = reinterpret_cast<const char*>(name->name);
  return std::string(text, strnlen(text, sizeof(name->name)));
}

void properties(Report& report, int count, bt_property_t* props) {
  report.Num("count", count);
  CheckProperties(count, props, report.problems());
  AppendProperties(count, props, report.fields());
}

void readParams(Report& report, const btgatt_read_params_t* params) {
  if (!params) {
    report.problems()->push_back("read parameters are null");
    return;
  }
  report.Num("handle", params->handle).Num("len", params->value.len).Num("value_type", params->value_type);
  CheckValue(params->value.len, params->value.value, report.problems());
  report.Bytes("value", params->value.value, std::min<size_t>(params->value.len, sizeof(params->value.value)));
}

void written(Report& report, int conn_id, int status, uint16_t handle, uint16_t len, const uint8_t* value) {
  report.Num("conn_id", conn_id).Num("status", status).Num("handle", handle).Num("len", len);
  CheckValue(len, value, report.problems());
  report.Bytes("value", value, len);
  report.Send();
}

// bt_callbacks_t
void adapterStateChanged(bt_state_t state) {
  const int64_t value = raw(state);
  bt("adapter_state_changed_cb").Num("state", value, onOff(value)).Range("state", value, 0, 1).Send();
}
void adapterProperties(bt_status_t status, int count, bt_property_t* props) {
  Report report = bt("adapter_properties_cb");
  report.Status("status", raw(status));
  properties(report, count, props);
  report.Send();
}
void remoteDeviceProperties(bt_status_t status, RawAddress* addr, int count, bt_property_t* props) {
  Report report = bt("remote_device_properties_cb");
  report.Status("status", raw(status)).Addr("addr", addr);
  properties(report, count, props);
  report.Send();
}
void deviceFound(int count, bt_property_t* props) {
  Report report = bt("device_found_cb");
  properties(report, count, props);
  CheckHasAddressProperty(count, props, report.problems());
  report.Send();
}
void discoveryStateChanged(bt_discovery_state_t state) {
  const int64_t value = raw(state);
  bt("discovery_state_changed_cb")
      .Num("state", value,
           value == BT_DISCOVERY_STARTED   ? "started"
           : value == BT_DISCOVERY_STOPPED ? "stopped"
                                           : "")
      .Range("state", value, 0, 1)
      .Send();
}
void pinRequest(RawAddress* addr, bt_bdname_t* name, uint32_t cod, bool min16) {
  bt("pin_request_cb").Addr("addr", addr).Text("name", bdname(name)).Num("cod", cod).Num("min_16_digit", min16).Send();
}
void sspRequest(RawAddress* addr, bt_bdname_t* name, uint32_t cod, bt_ssp_variant_t variant, uint32_t passkey) {
  bt("ssp_request_cb")
      .Addr("addr", addr)
      .Text("name", bdname(name))
      .Num("cod", cod)
      .Num("variant", raw(variant))
      .Num("pass_key", passkey)
      .Send();
}
void bondStateChanged(bt_status_t status, RawAddress* addr, bt_bond_state_t state, int reason) {
  const int64_t value = raw(state);
  bt("bond_state_changed_cb")
      .Status("status", raw(status))
      .Addr("addr", addr)
      .Num("state", value, bondLabel(value))
      .Range("bond state", value, BT_BOND_STATE_NONE, BT_BOND_STATE_BONDED)
      .Num("fail_reason", reason)
      .Send();
}
void addressConsolidate(RawAddress* main, RawAddress* secondary) {
  bt("address_consolidate_cb").Addr("main_addr", main).Addr("secondary_addr", secondary).Send();
}
void leAddressAssociate(RawAddress* main, RawAddress* secondary) {
  bt("le_address_associate_cb").Addr("main_addr", main).Addr("secondary_addr", secondary).Send();
}
void aclStateChanged(bt_status_t status, RawAddress* addr, bt_acl_state_t state, int linkType,
                     bt_hci_error_code_t reason) {
  const int64_t value = raw(state);
  bt("acl_state_changed_cb")
      .Status("status", raw(status))
      .Addr("addr", addr)
      .Num("state", value,
           value == BT_ACL_STATE_CONNECTED      ? "connected"
           : value == BT_ACL_STATE_DISCONNECTED ? "disconnected"
                                                : "")
      .Range("acl state", value, 0, 1)
      .Num("transport_link_type", linkType)
      .Num("hci_reason", reason)
      .Send();
}
void threadEvent(bt_cb_thread_evt evt) {
  const int64_t value = raw(evt);
  bt("thread_evt_cb")
      .Num("evt", value,
           value == ASSOCIATE_JVM      ? "associate"
           : value == DISASSOCIATE_JVM ? "disassociate"
                                       : "")
      .Range("thread event", value, 0, 1)
      .Send();
}
void dutModeReceive(uint16_t opcode, uint8_t* buf, uint8_t len) {
  bt("dut_mode_recv_cb").Num("opcode", opcode).Bytes("data", buf, len).Send();
}
void leTestMode(bt_status_t status, uint16_t packets) {
  bt("le_test_mode_cb").Status("status", raw(status)).Num("num_packets", packets).Send();
}
void energyInfo(bt_activity_energy_info* info, bt_uid_traffic_t*) {
  Report report = bt("energy_info_cb");
  if (info) {
    report.Num("status", info->status)
        .Num("tx_time", static_cast<int64_t>(info->tx_time))
        .Num("rx_time", static_cast<int64_t>(info->rx_time));
  } else {
    report.problems()->push_back("energy info is null");
  }
  report.Send();
}
void linkQualityReport(uint64_t timestamp, int reportId, int rssi, int snr, int retransmissions, int notReceived,
                       int nacks) {
  bt("link_quality_report_cb")
      .Num("timestamp", static_cast<int64_t>(timestamp))
      .Num("report_id", reportId)
      .Num("rssi", rssi)
      .Num("snr", snr)
      .Num("retransmission_count", retransmissions)
      .Num("packets_not_receive_count", notReceived)
      .Num("negative_acknowledgement_count", nacks)
      .Send();
}
void generateLocalOobData(tBT_TRANSPORT transport, bt_oob_data_t) {
  bt("generate_local_oob_data_cb").Num("transport", transport).Send();
}
void switchBufferSize(bool lowLatency) { bt("switch_buffer_size_cb").Num("is_low_latency", lowLatency).Send(); }
void switchCodec(bool lowLatency) { bt("switch_codec_cb").Num("is_low_latency", lowLatency).Send(); }

// btgatt_client_callbacks_t
void registerClient(int status, int clientIf, const bluetooth::Uuid& uuid) {
  client("register_client_cb").Num("status", status).Num("client_if", clientIf).Uuid("uuid", uuid).Send();
}
void open(int connId, int status, int clientIf, const RawAddress& addr) {
  client("open_cb").Num("conn_id", connId).Num("status", status).Num("client_if", clientIf).Addr("addr", &addr).Send();
}
void close(int connId, int status, int clientIf, const RawAddress& addr) {
  client("close_cb").Num("conn_id", connId).Num("status", status).Num("client_if", clientIf).Addr("addr", &addr).Send();
}
void searchComplete(int connId, int status) {
  client("search_complete_cb").Num("conn_id", connId).Num("status", status).Send();
}
void registerForNotification(int connId, int registered, int status, uint16_t handle) {
  client("register_for_notification_cb")
      .Num("conn_id", connId)
      .Num("registered", registered)
      .Range("registered", registered, 0, 1)
      .Num("status", status)
      .Num("handle", handle)
      .Send();
}
void notify(int connId, const btgatt_notify_params_t& params) {
  Report report = client("notify_cb");
  report.Num("conn_id", connId)
      .Addr("addr", &params.bda)
      .Num("handle", params.handle)
      .Num("len", params.len)
      .Num("is_notify", params.is_notify)
      .Range("is_notify", params.is_notify, 0, 1);
  CheckValue(params.len, params.value, report.problems());
  report.Bytes("value", params.value, std::min<size_t>(params.len, sizeof(params.value)));
  report.Send();
}
void readCharacteristic(int connId, int status, btgatt_read_params_t* params) {
  Report report = client("read_characteristic_cb");
  report.Num("conn_id", connId).Num("status", status);
  readParams(report, params);
  report.Send();
}
void writeCharacteristic(int connId, int status, uint16_t handle, uint16_t len, const uint8_t* value) {
  Report report = client("write_characteristic_cb");
  written(report, connId, status, handle, len, value);
}
void readDescriptor(int connId, int status, const btgatt_read_params_t& params) {
  Report report = client("read_descriptor_cb");
  report.Num("conn_id", connId).Num("status", status);
  readParams(report, &params);
  report.Send();
}
void writeDescriptor(int connId, int status, uint16_t handle, uint16_t len, const uint8_t* value) {
  Report report = client("write_descriptor_cb");
  written(report, connId, status, handle, len, value);
}
void executeWrite(int connId, int status) {
  client("execute_write_cb").Num("conn_id", connId).Num("status", status).Send();
}
void readRemoteRssi(int clientIf, const RawAddress& addr, int rssi, int status) {
  client("read_remote_rssi_cb")
      .Num("client_if", clientIf)
      .Addr("addr", &addr)
      .Num("rssi", rssi)
      .Range("rssi", rssi == kRssiUnavailable ? -127 : rssi, -127, 20)
      .Num("status", status)
      .Send();
}
void configureMtu(int connId, int status, int mtu) {
  client("configure_mtu_cb")
      .Num("conn_id", connId)
      .Num("status", status)
      .Num("mtu", mtu)
      .Range("mtu", mtu, kMinMtu, kMaxMtu)
      .Send();
}
void clientCongestion(int connId, bool congested) {
  client("congestion_cb").Num("conn_id", connId).Num("congested", congested).Send();
}
void getGattDb(int connId, const btgatt_db_element_t* db, int count) {
  Report report = client("get_gatt_db_cb");
  report.Num("conn_id", connId).Num("count", count);
  CheckDbElements(db, count, false, report.problems());
  if (count > 0) AppendDbElements(db, static_cast<size_t>(count), report.fields());
  report.Send();
}
void servicesRemoved(int connId, uint16_t start, uint16_t end) {
  Report report = client("services_removed_cb");
  report.Num("conn_id", connId).Num("start_handle", start).Num("end_handle", end);
  if (start > end) report.problems()->push_back("start handle after end handle");
  report.Send();
}
void servicesAdded(int connId, const btgatt_db_element_t& added, int count) {
  Report report = client("services_added_cb");
  report.Num("conn_id", connId).Num("count", count);
  CheckDbElements(&added, count > 0 ? 1 : 0, false, report.problems());
  AppendDbElements(&added, 1, report.fields());
  report.Send();
}
void clientPhyUpdated(int connId, uint8_t tx, uint8_t rx, uint8_t status) {
  client("phy_updated_cb").Num("conn_id", connId).Num("tx_phy", tx).Num("rx_phy", rx).Num("status", status).Send();
}
void clientConnUpdated(int connId, uint16_t interval, uint16_t latency, uint16_t timeout, uint8_t status) {
  client("conn_updated_cb")
      .Num("conn_id", connId)
      .Num("interval", interval)
      .Num("latency", latency)
      .Num("timeout", timeout)
      .Num("status", status)
      .Send();
}
void serviceChanged(int connId) { client("service_changed_cb").Num("conn_id", connId).Send(); }

// btgatt_server_callbacks_t
void registerServer(int status, int serverIf, const bluetooth::Uuid& uuid) {
  server("register_server_cb").Num("status", status).Num("server_if", serverIf).Uuid("uuid", uuid).Send();
}
void connection(int connId, int serverIf, int connected, const RawAddress& addr) {
  server("connection_cb")
      .Num("conn_id", connId)
      .Num("server_if", serverIf)
      .Num("connected", connected)
      .Range("connected", connected, 0, 1)
      .Addr("addr", &addr)
      .Send();
}
void serviceAdded(int status, int serverIf, const btgatt_db_element_t* service, size_t count) {
  Report report = server("service_added_cb");
  report.Num("status", status).Num("server_if", serverIf).Num("count", static_cast<int64_t>(count));
  CheckDbElements(service, static_cast<int64_t>(count), status == 0, report.problems());
  AppendDbElements(service, count, report.fields());
  report.Send();
}
void serviceStopped(int status, int serverIf, int handle) {
  server("service_stopped_cb").Num("status", status).Num("server_if", serverIf).Num("srvc_handle", handle).Send();
}
void serviceDeleted(int status, int serverIf, int handle) {
  server("service_deleted_cb").Num("status", status).Num("server_if", serverIf).Num("srvc_handle", handle).Send();
}
void requestRead(const char* slot, int connId, int transId, const RawAddress& addr, int handle, int offset,
                 bool isLong) {
  server(slot)
      .Num("conn_id", connId)
      .Num("trans_id", transId)
      .Addr("addr", &addr)
      .Num("attr_handle", handle)
      .Num("offset", offset)
      .Range("offset", offset, 0, BTGATT_MAX_ATTR_LEN)
      .Num("is_long", isLong)
      .Send();
}
void requestReadCharacteristic(int connId, int transId, const RawAddress& addr, int handle, int offset, bool isLong) {
  requestRead("request_read_characteristic_cb", connId, transId, addr, handle, offset, isLong);
}
void requestReadDescriptor(int connId, int transId, const RawAddress& addr, int handle, int offset, bool isLong) {
  requestRead("request_read_descriptor_cb", connId, transId, addr, handle, offset, isLong);
}
void requestWrite(const char* slot, int connId, int transId, const RawAddress& addr, int handle, int offset,
                  bool needRsp, bool isPrep, const uint8_t* value, size_t length) {
  Report report = server(slot);
  report.Num("conn_id", connId)
      .Num("trans_id", transId)
      .Addr("addr", &addr)
      .Num("attr_handle", handle)
      .Num("offset", offset)
      .Range("offset", offset, 0, BTGATT_MAX_ATTR_LEN)
      .Num("need_rsp", needRsp)
      .Num("is_prep", isPrep)
      .Num("len", static_cast<int64_t>(length));
  CheckValue(length, value, report.problems());
  report.Bytes("value", value, length);
  report.Send();
}
void requestWriteCharacteristic(int connId, int transId, const RawAddress& addr, int handle, int offset, bool needRsp,
                                bool isPrep, const uint8_t* value, size_t length) {
  requestWrite("request_write_characteristic_cb", connId, transId, addr, handle, offset, needRsp, isPrep, value,
               length);
}
void requestWriteDescriptor(int connId, int transId, const RawAddress& addr, int handle, int offset, bool needRsp,
                            bool isPrep, const uint8_t* value, size_t length) {
  requestWrite("request_write_descriptor_cb", connId, transId, addr, handle, offset, needRsp, isPrep, value, length);
}
void requestExecWrite(int connId, int transId, const RawAddress& addr, int execute) {
  server("request_exec_write_cb")
      .Num("conn_id", connId)
      .Num("trans_id", transId)
      .Addr("addr", &addr)
      .Num("exec_write", execute)
      .Send();
}
void responseConfirmation(int status, int handle) {
  server("response_confirmation_cb").Num("status", status).Num("handle", handle).Send();
}
void indicationSent(int connId, int status) {
  server("indication_sent_cb").Num("conn_id", connId).Num("status", status).Send();
}
void serverCongestion(int connId, bool congested) {
  server("congestion_cb").Num("conn_id", connId).Num("congested", congested).Send();
}
void mtuChanged(int connId, int mtu) {
  server("mtu_changed_cb").Num("conn_id", connId).Num("mtu", mtu).Range("mtu", mtu, kMinMtu, kMaxMtu).Send();
}
void serverPhyUpdated(int connId, uint8_t tx, uint8_t rx, uint8_t status) {
  server("phy_updated_cb").Num("conn_id", connId).Num("tx_phy", tx).Num("rx_phy", rx).Num("status", status).Send();
}
void serverConnUpdated(int connId, uint16_t interval, uint16_t latency, uint16_t timeout, uint8_t status) {
  server("conn_updated_cb")
      .Num("conn_id", connId)
      .Num("interval", interval)
      .Num("latency", latency)
      .Num("timeout", timeout)
      .Num("status", status)
      .Send();
}

// btgatt_scanner_callbacks_t
void scanResult(uint16_t eventType, uint8_t addrType, RawAddress* addr, uint8_t primaryPhy, uint8_t secondaryPhy,
                uint8_t sid, int8_t txPower, int8_t rssi, uint16_t periodicInterval, std::vector<uint8_t> data,
                RawAddress* originalAddr) {
  Report report = scanner("scan_result_cb");
  report.Num("event_type", eventType)
      .Num("addr_type", addrType)
      .Addr("addr", addr)
      .Num("primary_phy", primaryPhy)
      .Range("primary phy", primaryPhy, 1, 3)
      .Num("secondary_phy", secondaryPhy)
      .Num("advertising_sid", sid)
      .Num("tx_power", txPower)
      .Num("rssi", rssi)
      .Num("periodic_adv_int", periodicInterval);
  const std::string name = AdvertisedName(data);
  if (!name.empty()) report.Text("name", name);
  CheckAdvertisingData(eventType, data, report.problems());
  report.Bytes("adv_data", data.data(), data.size()).Addr("original_addr", originalAddr).Send();
}
void batchscanReports(int clientIf, int status, int format, int records, std::vector<uint8_t> data) {
  scanner("batchscan_reports_cb")
      .Num("client_if", clientIf)
      .Num("status", status)
      .Num("report_format", format)
      .Num("num_records", records)
      .Bytes("data", data.data(), data.size())
      .Send();
}
void batchscanThreshold(int clientIf) { scanner("batchscan_threshold_cb").Num("client_if", clientIf).Send(); }
void trackAdvEvent(btgatt_track_adv_info_t* info) {
  Report report = scanner("track_adv_event_cb");
  if (info) {
    report.Num("client_if", info->client_if).Num("filt_index", info->filt_index).Addr("addr", &info->bd_addr);
  } else {
    report.problems()->push_back("tracking info is null");
  }
  report.Send();
}

bt_callbacks_t gAdapterCallbacks = {
    sizeof(bt_callbacks_t),
    adapterStateChanged,
    adapterProperties,
    remoteDeviceProperties,
    deviceFound,
    discoveryStateChanged,
    pinRequest,
    sspRequest,
    bondStateChanged,
    addressConsolidate,
    leAddressAssociate,
    aclStateChanged,
    threadEvent,
    dutModeReceive,
    leTestMode,
    energyInfo,
    linkQualityReport,
    generateLocalOobData,
    switchBufferSize,
    switchCodec,
};

const btgatt_client_callbacks_t gClientCallbacks = {
    registerClient,
    open,
    close,
    searchComplete,
    registerForNotification,
    notify,
    readCharacteristic,
    writeCharacteristic,
    readDescriptor,
    writeDescriptor,
    executeWrite,
    readRemoteRssi,
    configureMtu,
    clientCongestion,
    getGattDb,
    servicesRemoved,
    servicesAdded,
    clientPhyUpdated,
    clientConnUpdated,
    serviceChanged,
};

const btgatt_server_callbacks_t gServerCallbacks = {
    registerServer,         connection,
    serviceAdded,           serviceStopped,
    serviceDeleted,         requestReadCharacteristic,
    requestReadDescriptor,  requestWriteCharacteristic,
    requestWriteDescriptor, requestExecWrite,
    responseConfirmation,   indicationSent,
    serverCongestion,       mtuChanged,
    serverPhyUpdated,       serverConnUpdated,
};

const btgatt_scanner_callbacks_t gScannerCallbacks = {scanResult, batchscanReports, batchscanThreshold, trackAdvEvent};

const btgatt_callbacks_t gGattCallbacks = {sizeof(btgatt_callbacks_t), &gClientCallbacks, &gServerCallbacks,
                                           &gScannerCallbacks};

}  // namespace

void SetCallbackSink(CallbackSink* sink) {
  std::unique_lock<std::shared_mutex> lock(gSinkMutex);
  gSink = sink;
}

bt_callbacks_t* AdapterCallbacks() { return &gAdapterCallbacks; }

const btgatt_callbacks_t* GattCallbacks() { return &gGattCallbacks; }

BleScannerInterface::RegisterCallback ScannerRegisteredCallback() {
  return base::BindRepeating([](uint8_t scannerId, uint8_t status) {
    scanner("register_cb").Inline().Num("scanner_id", scannerId).Num("status", status).Send();
  });
}

BleScannerInterface::Callback ScannerStatusCallback(const std::string& slot) {
  return base::BindRepeating(
      [](const std::string& name, uint8_t status) { scanner(name.c_str()).Inline().Num("status", status).Send(); },
      slot);
}

BleScannerInterface::EnableCallback ScanFilterEnableCallback() {
  return base::BindRepeating([](uint8_t action, uint8_t status) {
    scanner("filter_enable_cb").Inline().Num("action", action).Num("status", status).Send();
  });
}

base::Callback<void(uint8_t, uint8_t, uint8_t)> ReadPhyCallback(Table table) {
  return base::BindRepeating(
      [](Table owner, uint8_t tx, uint8_t rx, uint8_t status) {
        Report(owner, "read_phy_cb")
            .Inline()
            .Num("tx_phy", tx)
            .Range("tx phy", tx, 1, 3)
            .Num("rx_phy", rx)
            .Range("rx phy", rx, 1, 3)
            .Num("status", status)
            .Send();
      },
      table);
}

}  // namespace bttev
}  // namespace tev
