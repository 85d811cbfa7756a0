#include "checking_stack.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "tev/testing/thread_name.h"

namespace tev {
namespace stress {
namespace {

CheckingStack* gStack = nullptr;

// Distinct breaches kept as text; the rest are counted only.
constexpr size_t kKeptBreaches = 20;
// The largest attribute value a callback may carry.
constexpr size_t kMaxValue = BTGATT_MAX_ATTR_LEN;

struct HalCallState {
  int depth = 0;
  bool startedStable = false;
  uint64_t startEpoch = 0;
  uint64_t cleanupsAtStart[2] = {0, 0};
};

size_t indexOf(Tables tables) { return tables == Tables::kAdapter ? 0 : 1; }
thread_local HalCallState tHalCall;

const std::string& threadName() {
  thread_local const std::string name = tev::testing::CurrentThreadName();
  return name;
}

void arrived(Tables tables, const char* name) {
  if (gStack) gStack->Arrived(tables, name);
}

void breach(const std::string& what) {
  if (gStack) gStack->Breach(what);
}

void touch(const char* name, const void* bytes, size_t length) {
  if (gStack) gStack->Touch(name, bytes, length);
}

void touchProperties(const char* name, int count, const bt_property_t* properties) {
  if (count < 0) return breach(std::string(name) + ": negative property count");
  touch(name, properties, sizeof(bt_property_t) * static_cast<size_t>(count));
  for (int i = 0; properties && i < count; ++i) {
    if (properties[i].len < 0) return breach(std::string(name) + ": negative length");
    touch(name, properties[i].val, static_cast<size_t>(properties[i].len));
  }
}

void touchAddress(const char* name, const RawAddress* address) {
  touch(name, address, address ? sizeof(RawAddress) : 1);
}

void touchValue(const char* name, const uint8_t* value, size_t length) {
  if (length > kMaxValue) breach(std::string(name) + ": value longer than 600 bytes");
  touch(name, value, length);
}

void touchElements(const char* name, const btgatt_db_element_t* elements, size_t count) {
  touch(name, elements, sizeof(btgatt_db_element_t) * count);
  // A characteristic handle from the list, for the stack's next reads and writes.
  for (size_t i = 0; elements && i < count; ++i) {
    if (elements[i].type == BTGATT_DB_CHARACTERISTIC) {
      if (gStack) gStack->SawHandle(elements[i].attribute_handle);
      return;
    }
  }
}

// bt_callbacks_t
void adapterStateChanged(bt_state_t state) {
  arrived(Tables::kAdapter, "adapter_state_changed_cb");
  if (state != BT_STATE_OFF && state != BT_STATE_ON) breach("adapter state out of range");
}
void adapterProperties(bt_status_t, int count, bt_property_t* properties) {
  arrived(Tables::kAdapter, "adapter_properties_cb");
  touchProperties("adapter_properties_cb", count, properties);
}
void remoteDeviceProperties(bt_status_t, RawAddress* address, int count,
                            bt_property_t* properties) {
  arrived(Tables::kAdapter, "remote_device_properties_cb");
  touchAddress("remote_device_properties_cb", address);
  touchProperties("remote_device_properties_cb", count, properties);
}
void deviceFound(int count, bt_property_t* properties) {
  arrived(Tables::kAdapter, "device_found_cb");
  touchProperties("device_found_cb", count, properties);
}
void discoveryStateChanged(bt_discovery_state_t) {
  arrived(Tables::kAdapter, "discovery_state_changed_cb");
}
void pinRequest(RawAddress* address, bt_bdname_t*, uint32_t, bool) {
  arrived(Tables::kAdapter, "pin_request_cb");
  touchAddress("pin_request_cb", address);
}
void sspRequest(RawAddress* address, bt_bdname_t*, uint32_t, bt_ssp_variant_t, uint32_t) {
  arrived(Tables::kAdapter, "ssp_request_cb");
  touchAddress("ssp_request_cb", address);
}
void bondStateChanged(bt_status_t, RawAddress* address, bt_bond_state_t, int) {
  arrived(Tables::kAdapter, "bond_state_changed_cb");
  touchAddress("bond_state_changed_cb", address);
}
void addressConsolidate(RawAddress*, RawAddress*) {
  arrived(Tables::kAdapter, "address_consolidate_cb");
}
void leAddressAssociate(RawAddress*, RawAddress*) {
  arrived(Tables::kAdapter, "le_address_associate_cb");
}
void aclStateChanged(bt_status_t, RawAddress* address, bt_acl_state_t, int, bt_hci_error_code_t) {
  arrived(Tables::kAdapter, "acl_state_changed_cb");
  touchAddress("acl_state_changed_cb", address);
}
void threadEvent(bt_cb_thread_evt) { arrived(Tables::kAdapter, "thread_evt_cb"); }
void dutModeReceived(uint16_t, uint8_t* buffer, uint8_t length) {
  arrived(Tables::kAdapter, "dut_mode_recv_cb");
  touch("dut_mode_recv_cb", buffer, length);
}
void leTestMode(bt_status_t, uint16_t) { arrived(Tables::kAdapter, "le_test_mode_cb"); }
void energyInfo(bt_activity_energy_info*, bt_uid_traffic_t*) {
  arrived(Tables::kAdapter, "energy_info_cb");
}
void linkQualityReport(uint64_t, int, int, int, int, int, int) {
  arrived(Tables::kAdapter, "link_quality_report_cb");
}
void generateLocalOobData(tBT_TRANSPORT, bt_oob_data_t) {
  arrived(Tables::kAdapter, "generate_local_oob_data_cb");
}
void switchBufferSize(bool) { arrived(Tables::kAdapter, "switch_buffer_size_cb"); }
void switchCodec(bool) { arrived(Tables::kAdapter, "switch_codec_cb"); }

// btgatt_client_callbacks_t
void registerClient(int, int clientIf, const bluetooth::Uuid&) {
  arrived(Tables::kGatt, "register_client_cb");
  if (gStack) gStack->SawClientIf(clientIf);
}
void open(int connId, int, int, const RawAddress&) {
  arrived(Tables::kGatt, "open_cb");
  if (gStack) gStack->SawConnId(connId);
}
void close(int, int, int, const RawAddress&) { arrived(Tables::kGatt, "close_cb"); }
void searchComplete(int, int) { arrived(Tables::kGatt, "search_complete_cb"); }
void registerForNotification(int, int, int, uint16_t) {
  arrived(Tables::kGatt, "register_for_notification_cb");
}
void notify(int, const btgatt_notify_params_t& params) {
  arrived(Tables::kGatt, "notify_cb");
  touchValue("notify_cb", params.value, params.len);
}
void readCharacteristic(int, int, btgatt_read_params_t* params) {
  arrived(Tables::kGatt, "read_characteristic_cb");
  if (!params) return breach("read_characteristic_cb: null parameters");
  touchValue("read_characteristic_cb", params->value.value, params->value.len);
}
void writeCharacteristic(int, int, uint16_t, uint16_t length, const uint8_t* value) {
  arrived(Tables::kGatt, "write_characteristic_cb");
  touchValue("write_characteristic_cb", value, length);
}
void readDescriptor(int, int, const btgatt_read_params_t& params) {
  arrived(Tables::kGatt, "read_descriptor_cb");
  touchValue("read_descriptor_cb", params.value.value, params.value.len);
}
void writeDescriptor(int, int, uint16_t, uint16_t length, const uint8_t* value) {
  arrived(Tables::kGatt, "write_descriptor_cb");
  touchValue("write_descriptor_cb", value, length);
}
void executeWrite(int, int) { arrived(Tables::kGatt, "execute_write_cb"); }
void readRemoteRssi(int, const RawAddress&, int, int) {
  arrived(Tables::kGatt, "read_remote_rssi_cb");
}
void configureMtu(int, int, int) { arrived(Tables::kGatt, "configure_mtu_cb"); }
void clientCongestion(int, bool) { arrived(Tables::kGatt, "congestion_cb"); }
void getGattDb(int, const btgatt_db_element_t* elements, int count) {
  arrived(Tables::kGatt, "get_gatt_db_cb");
  if (count < 0) return breach("get_gatt_db_cb: negative count");
  touchElements("get_gatt_db_cb", elements, static_cast<size_t>(count));
}
void servicesRemoved(int, uint16_t, uint16_t) { arrived(Tables::kGatt, "services_removed_cb"); }
void servicesAdded(int, const btgatt_db_element_t&, int) {
  arrived(Tables::kGatt, "services_added_cb");
}
void clientPhyUpdated(int, uint8_t, uint8_t, uint8_t) { arrived(Tables::kGatt, "phy_updated_cb"); }
void clientConnUpdated(int, uint16_t, uint16_t, uint16_t, uint8_t) {
  arrived(Tables::kGatt, "conn_updated_cb");
}
void serviceChanged(int) { arrived(Tables::kGatt, "service_changed_cb"); }

// btgatt_server_callbacks_t
void registerServer(int, int serverIf, const bluetooth::Uuid&) {
  arrived(Tables::kGatt, "register_server_cb");
  if (gStack) gStack->SawServerIf(serverIf);
}
void connection(int connId, int, int, const RawAddress&) {
  arrived(Tables::kGatt, "connection_cb");
  if (gStack) gStack->SawConnId(connId);
}
void serviceAdded(int, int, const btgatt_db_element_t* elements, size_t count) {
  arrived(Tables::kGatt, "service_added_cb");
  touchElements("service_added_cb", elements, count);
}
void serviceStopped(int, int, int) { arrived(Tables::kGatt, "service_stopped_cb"); }
void serviceDeleted(int, int, int) { arrived(Tables::kGatt, "service_deleted_cb"); }
void requestRead(int, int transId, const RawAddress&, int, int, bool) {
  arrived(Tables::kGatt, "request_read_*_cb");
  if (gStack) gStack->SawTransId(transId);
}
void requestWrite(int, int transId, const RawAddress&, int, int, bool, bool, const uint8_t* value,
                  size_t length) {
  arrived(Tables::kGatt, "request_write_*_cb");
  if (gStack) gStack->SawTransId(transId);
  touch("request_write_*_cb", value, length);
}
void requestExecWrite(int, int transId, const RawAddress&, int) {
  arrived(Tables::kGatt, "request_exec_write_cb");
  if (gStack) gStack->SawTransId(transId);
}
void responseConfirmation(int, int) { arrived(Tables::kGatt, "response_confirmation_cb"); }
void indicationSent(int, int) { arrived(Tables::kGatt, "indication_sent_cb"); }
void serverCongestion(int, bool) { arrived(Tables::kGatt, "congestion_cb"); }
void mtuChanged(int, int) { arrived(Tables::kGatt, "mtu_changed_cb"); }
void serverPhyUpdated(int, uint8_t, uint8_t, uint8_t) { arrived(Tables::kGatt, "phy_updated_cb"); }
void serverConnUpdated(int, uint16_t, uint16_t, uint16_t, uint8_t) {
  arrived(Tables::kGatt, "conn_updated_cb");
}

// btgatt_scanner_callbacks_t
void scanResult(uint16_t, uint8_t, RawAddress* address, uint8_t, uint8_t, uint8_t, int8_t, int8_t,
                uint16_t, std::vector<uint8_t> data, RawAddress* original) {
  arrived(Tables::kGatt, "scan_result_cb");
  touchAddress("scan_result_cb", address);
  touchAddress("scan_result_cb", original);
  touch("scan_result_cb", data.data(), data.size());
}
void batchscanReports(int, int, int, int, std::vector<uint8_t>) {
  arrived(Tables::kGatt, "batchscan_reports_cb");
}
void batchscanThreshold(int) { arrived(Tables::kGatt, "batchscan_threshold_cb"); }
void trackAdvEvent(btgatt_track_adv_info_t*) { arrived(Tables::kGatt, "track_adv_event_cb"); }

}  // namespace

CheckingStack::CheckingStack() {
  if (gStack) {
    std::fprintf(stderr, "only one CheckingStack at a time\n");
    std::abort();
  }
  callbacks_ = {sizeof(bt_callbacks_t),
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
                dutModeReceived,
                leTestMode,
                energyInfo,
                linkQualityReport,
                generateLocalOobData,
                switchBufferSize,
                switchCodec};
  client_ = {registerClient,
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
             serviceChanged};
  server_ = {registerServer,   connection,       serviceAdded,         serviceStopped,
             serviceDeleted,   requestRead,      requestRead,          requestWrite,
             requestWrite,     requestExecWrite, responseConfirmation, indicationSent,
             serverCongestion, mtuChanged,       serverPhyUpdated,     serverConnUpdated};
  scanner_ = {scanResult, batchscanReports, batchscanThreshold, trackAdvEvent};
  gatt_ = {sizeof(btgatt_callbacks_t), &client_, &server_, &scanner_};
  gStack = this;
}

CheckingStack::~CheckingStack() { gStack = nullptr; }

void CheckingStack::WillInstall(Tables tables) { Move(tables, State::kIdle, State::kInstalling); }

void CheckingStack::Installed(Tables tables) {
  Move(tables, State::kInstalling, State::kInstalled);
}

void CheckingStack::WillCleanUp(Tables tables) {
  Move(tables, State::kInstalled, State::kCleaning);
}

void CheckingStack::CleanedUp(Tables tables) { Move(tables, State::kCleaning, State::kIdle); }

void CheckingStack::Move(Tables tables, State from, State to) {
  std::lock_guard<std::mutex> lock(mutex_);
  State& state = tables == Tables::kAdapter ? adapter_ : gatt_state_;
  if (state != from) {
    std::fprintf(stderr, "CheckingStack: the %s tables moved out of order\n", NameOf(tables));
    std::abort();
  }
  state = to;
  if (tables == Tables::kAdapter) ++adapter_epoch_;
  if (to == State::kIdle) ++cleanups_[indexOf(tables)];
}

const char* CheckingStack::NameOf(Tables tables) {
  return tables == Tables::kAdapter ? "adapter" : "GATT";
}

CheckingStack::HalCall::HalCall(CheckingStack& stack) {
  if (tHalCall.depth++ > 0) return;
  std::lock_guard<std::mutex> lock(stack.mutex_);
  tHalCall.startedStable = stack.adapter_ == State::kInstalled;
  tHalCall.startEpoch = stack.adapter_epoch_;
  tHalCall.cleanupsAtStart[0] = stack.cleanups_[0];
  tHalCall.cleanupsAtStart[1] = stack.cleanups_[1];
}

CheckingStack::HalCall::~HalCall() { --tHalCall.depth; }

CheckingStack::ImmediateAnswer::ImmediateAnswer(CheckingStack& stack, const char* call)
    : stack_(stack), call_(call), state_(std::make_shared<State>()) {}

CheckingStack::ImmediateAnswer::~ImmediateAnswer() {
  if (state_->runs.load() != 1) {
    stack_.Breach(std::string(call_) + " answered " + std::to_string(state_->runs.load()) +
                  " times before returning");
  }
  if (state_->elsewhere.load()) stack_.Breach(std::string(call_) + " answered on another thread");
}

void CheckingStack::ImmediateAnswer::State::Ran() {
  ++runs;
  if (std::this_thread::get_id() != caller) elsewhere = true;
}

size_t CheckingStack::BreachCount() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return breach_count_;
}

std::vector<std::string> CheckingStack::Breaches() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return breaches_;
}

void CheckingStack::Breach(const std::string& what) {
  std::lock_guard<std::mutex> lock(mutex_);
  ++breach_count_;
  if (breaches_.size() < kKeptBreaches &&
      std::find(breaches_.begin(), breaches_.end(), what) == breaches_.end()) {
    breaches_.push_back(what);
  }
}

void CheckingStack::Arrived(Tables tables, const char* name) {
  ++callbacks_seen_;
  const std::string& thread = threadName();
  std::string breach;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    const State state = tables == Tables::kAdapter ? adapter_ : gatt_state_;
    const bool noCallbackThread = adapter_ != State::kInstalled;
    const bool inlineOnCaller =
        tHalCall.depth > 0 && (!tHalCall.startedStable || tHalCall.startEpoch != adapter_epoch_);
    const bool underWayAtCleanUp =
        tHalCall.depth > 0 &&
        tHalCall.cleanupsAtStart[indexOf(tables)] != cleanups_[indexOf(tables)];
    if (state == State::kIdle && !underWayAtCleanUp) {
      breach = std::string(name) + " through the " + NameOf(tables) +
               " tables while they are not installed";
    } else if (thread != "bt_tev_callback" && !(thread == "mojo_ipc" && noCallbackThread) &&
               !inlineOnCaller) {
      breach = std::string(name) + " on thread '" + thread + "'";
    }
  }
  if (!breach.empty()) Breach(breach);
}

void CheckingStack::Touch(const char* name, const void* bytes, size_t length) {
  if (length == 0) return;
  if (!bytes) return Breach(std::string(name) + ": null pointer with a length");
  const auto* data = static_cast<const uint8_t*>(bytes);
  uint64_t sum = 0;
  for (size_t i = 0; i < length; ++i) sum += data[i];
  touched_.fetch_add(sum, std::memory_order_relaxed);
}

}  // namespace stress
}  // namespace tev
