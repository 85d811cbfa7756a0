// Every slot of the tables, and every inline result bttev asks for: the text the library's tests
// read, and the fields bttev's expectations match, against the schemas that name them.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <set>

#include "tev/testing/stack/callback_schemas.h"
#include "tev/testing/stack/recording_stack.h"
#include "tev/testing/thread_name.h"

namespace tev {
namespace testing {
namespace {

struct Row {
  std::function<void(StackTables&)> call;
  // CallbackRecord::text().
  std::string text;
};

class Collector : public CallbackSink {
 public:
  Collector() { SetCallbackSink(this); }
  ~Collector() override { SetCallbackSink(nullptr); }
  void OnCallback(CallbackEvent event) override { events.push_back(std::move(event)); }
  std::vector<CallbackEvent> events;
};

const RawAddress kAddress({2, 0x51, 0xb0, 0, 0, 1});
const bluetooth::Uuid kUuid = bluetooth::Uuid::From16Bit(0x180d);
const std::string kAddr = "02:51:b0:00:00:01";
const std::string kUuidText = "0000180d-0000-1000-8000-00805f9b34fb";
const std::string kElementText = "{1 3 2 0 0 18 00002a37-0000-1000-8000-00805f9b34fb}";

// The results bttev hands to the scanner's filter and batch-scan calls and to the advertiser's,
// with the arguments their schemas name, all zero.
void inlineResult(Table table, const std::string& slot, size_t count) {
  for (const CallbackSchema& schema : CallbackSchemas()) {
    if (schema.table == table && schema.slot == slot) {
      SendInlineResult(table, slot, schema.fields, std::vector<int64_t>(count, 0));
    }
  }
}

std::vector<Row> everyCall() {
  static RawAddress address = kAddress;
  static uint8_t name[] = {'B', 'u', 'd', 's', 0};
  static uint8_t deviceClass[] = {0x0c, 0x02, 0x5a, 0x00};
  static bt_property_t properties[] = {{BT_PROPERTY_BDNAME, 5, name},
                                       {BT_PROPERTY_BDADDR, 6, &address},
                                       {BT_PROPERTY_CLASS_OF_DEVICE, 4, deviceClass}};
  static uint8_t bytes[] = {0x68, 0x69};
  static btgatt_notify_params_t notify = [] {
    btgatt_notify_params_t params{};
    params.bda = kAddress;
    params.handle = 3;
    params.len = 2;
    params.is_notify = 1;
    params.value[0] = 1;
    params.value[1] = 2;
    return params;
  }();
  static btgatt_read_params_t read = [] {
    btgatt_read_params_t params{};
    params.handle = 4;
    params.value.len = 1;
    params.value.value[0] = 1;
    params.status = 0;
    return params;
  }();
  static btgatt_db_element_t element = [] {
    btgatt_db_element_t e{};
    e.id = 1;
    e.type = BTGATT_DB_CHARACTERISTIC;
    e.attribute_handle = 2;
    e.properties = 0x12;
    e.uuid = bluetooth::Uuid::From16Bit(0x2a37);
    return e;
  }();
  static bt_activity_energy_info energy{};
  static btgatt_track_adv_info_t track{};
  const std::string a = kAddr;
  using T = StackTables&;
  return {
      {[](T t) { t.adapter.adapter_state_changed_cb(BT_STATE_ON); }, "adapter_state_changed_cb(1)"},
      {[](T t) { t.adapter.adapter_properties_cb(BT_STATUS_SUCCESS, 3, properties); },
       "adapter_properties_cb(0, 3, [1:\"Buds\", 2:" + a + ", 4:0c025a00])"},
      {[](T t) {
         t.adapter.remote_device_properties_cb(BT_STATUS_SUCCESS, &address, 1, properties);
       },
       "remote_device_properties_cb(0, " + a + ", 1, [1:\"Buds\"])"},
      {[](T t) { t.adapter.device_found_cb(0, nullptr); }, "device_found_cb(0, [])"},
      {[](T t) { t.adapter.discovery_state_changed_cb(BT_DISCOVERY_STARTED); },
       "discovery_state_changed_cb(1)"},
      {[](T t) { t.adapter.pin_request_cb(&address, nullptr, 7, true); },
       "pin_request_cb(" + a + ", 7, 1)"},
      {[](T t) { t.adapter.ssp_request_cb(&address, nullptr, 7, BT_SSP_VARIANT_CONSENT, 9); },
       "ssp_request_cb(" + a + ", 7, 2, 9)"},
      {[](T t) {
         t.adapter.bond_state_changed_cb(BT_STATUS_SUCCESS, &address, BT_BOND_STATE_BONDED, 0);
       },
       "bond_state_changed_cb(0, " + a + ", 2, 0)"},
      {[](T t) { t.adapter.address_consolidate_cb(&address, &address); },
       "address_consolidate_cb(" + a + ", " + a + ")"},
      {[](T t) { t.adapter.le_address_associate_cb(&address, &address); },
       "le_address_associate_cb(" + a + ", " + a + ")"},
      {[](T t) {
         t.adapter.acl_state_changed_cb(BT_STATUS_SUCCESS, &address, BT_ACL_STATE_CONNECTED, 0, 19);
       },
       "acl_state_changed_cb(0, " + a + ", 0, 0, 19)"},
      {[](T t) { t.adapter.thread_evt_cb(ASSOCIATE_JVM); }, "thread_evt_cb(0)"},
      {[](T t) { t.adapter.dut_mode_recv_cb(1, bytes, 2); }, "dut_mode_recv_cb(1, 6869)"},
      {[](T t) { t.adapter.le_test_mode_cb(BT_STATUS_SUCCESS, 5); }, "le_test_mode_cb(0, 5)"},
      {[](T t) { t.adapter.energy_info_cb(&energy, nullptr); }, "energy_info_cb()"},
      {[](T t) { t.adapter.link_quality_report_cb(1, 2, 3, 4, 5, 6, 7); },
       "link_quality_report_cb(1, 2, 3, 4, 5, 6, 7)"},
      {[](T t) { t.adapter.generate_local_oob_data_cb(2, bt_oob_data_t{}); },
       "generate_local_oob_data_cb(2)"},
      {[](T t) { t.adapter.switch_buffer_size_cb(true); }, "switch_buffer_size_cb(1)"},
      {[](T t) { t.adapter.switch_codec_cb(false); }, "switch_codec_cb(0)"},

      {[](T t) { t.client.register_client_cb(0, 1, kUuid); },
       "register_client_cb(0, 1, " + kUuidText + ")"},
      {[](T t) { t.client.open_cb(1, 0, 1, kAddress); }, "open_cb(1, 0, 1, " + a + ")"},
      {[](T t) { t.client.close_cb(1, 0, 1, kAddress); }, "close_cb(1, 0, 1, " + a + ")"},
      {[](T t) { t.client.search_complete_cb(1, 0); }, "search_complete_cb(1, 0)"},
      {[](T t) { t.client.register_for_notification_cb(1, 1, 0, 2); },
       "register_for_notification_cb(1, 1, 0, 2)"},
      {[](T t) { t.client.notify_cb(1, notify); }, "notify_cb(1, " + a + ", 3, 2, 1, 0102)"},
      {[](T t) { t.client.read_characteristic_cb(1, 0, &read); },
       "read_characteristic_cb(1, 0, 4, 1, 0, 0, 01)"},
      {[](T t) { t.client.write_characteristic_cb(1, 0, 2, 0, nullptr); },
       "write_characteristic_cb(1, 0, 2, 0, null)"},
      {[](T t) { t.client.read_descriptor_cb(1, 0, read); },
       "read_descriptor_cb(1, 0, 4, 1, 0, 0, 01)"},
      {[](T t) { t.client.write_descriptor_cb(1, 0, 3, 2, bytes); },
       "write_descriptor_cb(1, 0, 3, 2, value)"},
      {[](T t) { t.client.execute_write_cb(1, 0); }, "execute_write_cb(1, 0)"},
      {[](T t) { t.client.read_remote_rssi_cb(1, kAddress, -60, 0); },
       "read_remote_rssi_cb(1, " + a + ", -60, 0)"},
      {[](T t) { t.client.configure_mtu_cb(1, 0, 512); }, "configure_mtu_cb(1, 0, 512)"},
      {[](T t) { t.client.congestion_cb(1, false); }, "client_congestion_cb(1, 0)"},
      {[](T t) { t.client.get_gatt_db_cb(1, &element, 1); },
       "get_gatt_db_cb(1, 1, [" + kElementText + "])"},
      {[](T t) { t.client.services_removed_cb(1, 1, 0xffff); }, "services_removed_cb(1, 1, 65535)"},
      {[](T t) { t.client.services_added_cb(1, element, 1); },
       "services_added_cb(1, " + kElementText + ", 1)"},
      {[](T t) { t.client.phy_updated_cb(1, 1, 2, 0); }, "client_phy_updated_cb(1, 1, 2, 0)"},
      {[](T t) { t.client.conn_updated_cb(1, 6, 0, 100, 0); },
       "client_conn_updated_cb(1, 6, 0, 100, 0)"},
      {[](T t) { t.client.service_changed_cb(1); }, "service_changed_cb(1)"},

      {[](T t) { t.server.register_server_cb(0, 1, kUuid); },
       "register_server_cb(0, 1, " + kUuidText + ")"},
      {[](T t) { t.server.connection_cb(1, 1, 1, kAddress); }, "connection_cb(1, 1, 1, " + a + ")"},
      {[](T t) { t.server.service_added_cb(0, 1, &element, 1); },
       "service_added_cb(0, 1, 1, [" + kElementText + "])"},
      {[](T t) { t.server.service_stopped_cb(0, 1, 40); }, "service_stopped_cb(0, 1, 40)"},
      {[](T t) { t.server.service_deleted_cb(0, 1, 40); }, "service_deleted_cb(0, 1, 40)"},
      {[](T t) { t.server.request_read_characteristic_cb(1, 1, kAddress, 41, 0, false); },
       "request_read_characteristic_cb(1, 1, " + a + ", 41, 0, 0)"},
      {[](T t) { t.server.request_read_descriptor_cb(1, 2, kAddress, 42, 5, true); },
       "request_read_descriptor_cb(1, 2, " + a + ", 42, 5, 1)"},
      {[](T t) {
         t.server.request_write_characteristic_cb(1, 3, kAddress, 41, 0, true, false, bytes, 2);
       },
       "request_write_characteristic_cb(1, 3, " + a + ", 41, 0, 1, 0, 6869)"},
      {[](T t) {
         t.server.request_write_descriptor_cb(1, 4, kAddress, 42, 0, true, true, nullptr, 0);
       },
       "request_write_descriptor_cb(1, 4, " + a + ", 42, 0, 1, 1, )"},
      {[](T t) { t.server.request_exec_write_cb(1, 5, kAddress, 1); },
       "request_exec_write_cb(1, 5, " + a + ", 1)"},
      {[](T t) { t.server.response_confirmation_cb(0, 41); }, "response_confirmation_cb(0, 41)"},
      {[](T t) { t.server.indication_sent_cb(1, 0); }, "indication_sent_cb(1, 0)"},
      {[](T t) { t.server.congestion_cb(1, true); }, "server_congestion_cb(1, 1)"},
      {[](T t) { t.server.mtu_changed_cb(1, 185); }, "mtu_changed_cb(1, 185)"},
      {[](T t) { t.server.phy_updated_cb(1, 1, 1, 0); }, "server_phy_updated_cb(1, 1, 1, 0)"},
      {[](T t) { t.server.conn_updated_cb(1, 6, 0, 100, 0); },
       "server_conn_updated_cb(1, 6, 0, 100, 0)"},

      {[](T t) {
         t.scanner.scan_result_cb(0x13, 0, &address, 1, 0, 0xff, 127, -60, 0, {4, 9, 'H', 'R', 'M'},
                                  &address);
       },
       "scan_result_cb(19, 0, " + a + ", 1, 0, 255, 127, -60, 0, 040948524d, " + a + ")"},
      {[](T t) { t.scanner.batchscan_reports_cb(1, 0, 0, 0, {}); },
       "batchscan_reports_cb(1, 0, 0, 0, )"},
      {[](T t) { t.scanner.batchscan_threshold_cb(1); }, "batchscan_threshold_cb(1)"},
      {[](T t) { t.scanner.track_adv_event_cb(&track); }, "track_adv_event_cb()"},

      {[](T) { ScannerRegisteredCallback().Run(1, 0); }, "register_cb(1, 0)"},
      {[](T) { ScannerStatusCallback("set_parameters_cb").Run(0); }, "set_parameters_cb(0)"},
      {[](T) { ScanFilterEnableCallback().Run(1, 0); }, "filter_enable_cb(1, 0)"},
      {[](T) { ReadPhyCallback(Table::kGattClient).Run(1, 1, 0); }, "read_phy_cb(1, 1, 0)"},
      {[](T) { ReadPhyCallback(Table::kGattServer).Run(1, 1, 0); }, "read_phy_cb(1, 1, 0)"},
      {[](T) { inlineResult(Table::kGattScanner, "filter_param_setup_cb", 3); },
       "filter_param_setup_cb(0, 0, 0)"},
      {[](T) { inlineResult(Table::kGattScanner, "filter_add_cb", 4); },
       "filter_add_cb(0, 0, 0, 0)"},
      {[](T) { inlineResult(Table::kGattScanner, "filter_clear_cb", 4); },
       "filter_clear_cb(0, 0, 0, 0)"},
      {[](T) { inlineResult(Table::kGattScanner, "batchscan_config_storage_cb", 1); },
       "batchscan_config_storage_cb(0)"},
      {[](T) { inlineResult(Table::kGattScanner, "batchscan_enable_cb", 1); },
       "batchscan_enable_cb(0)"},
      {[](T) { inlineResult(Table::kGattScanner, "batchscan_disable_cb", 1); },
       "batchscan_disable_cb(0)"},
      {[](T) { inlineResult(Table::kGattAdvertiser, "register_cb", 2); }, "register_cb(0, 0)"},
      {[](T) { inlineResult(Table::kGattAdvertiser, "get_own_address_cb", 1); },
       "get_own_address_cb(0)"},
      {[](T) { inlineResult(Table::kGattAdvertiser, "set_parameters_cb", 2); },
       "set_parameters_cb(0, 0)"},
      {[](T) { inlineResult(Table::kGattAdvertiser, "set_data_cb", 1); }, "set_data_cb(0)"},
      {[](T) { inlineResult(Table::kGattAdvertiser, "enable_cb", 1); }, "enable_cb(0)"},
      {[](T) { inlineResult(Table::kGattAdvertiser, "enable_timeout_cb", 1); },
       "enable_timeout_cb(0)"},
      {[](T) { inlineResult(Table::kGattAdvertiser, "start_cb", 1); }, "start_cb(0)"},
      {[](T) { inlineResult(Table::kGattAdvertiser, "start_timeout_cb", 1); },
       "start_timeout_cb(0)"},
      {[](T) { inlineResult(Table::kGattAdvertiser, "set_started_cb", 3); },
       "set_started_cb(0, 0, 0)"},
      {[](T) { inlineResult(Table::kGattAdvertiser, "set_timeout_cb", 2); },
       "set_timeout_cb(0, 0)"},
      {[](T) { inlineResult(Table::kGattAdvertiser, "periodic_parameters_cb", 1); },
       "periodic_parameters_cb(0)"},
      {[](T) { inlineResult(Table::kGattAdvertiser, "periodic_data_cb", 1); },
       "periodic_data_cb(0)"},
      {[](T) { inlineResult(Table::kGattAdvertiser, "periodic_enable_cb", 1); },
       "periodic_enable_cb(0)"},
  };
}

TEST(CallDecoderTest, TheTestsReadEveryCallInTheirTextOnTheThreadItCameOn) {
  StackTables tables;
  std::vector<std::string> expected;
  RecordingStack recorder;
  for (const Row& row : everyCall()) {
    row.call(tables);
    expected.push_back(row.text);
  }
  EXPECT_EQ(recorder.Calls(), expected);
  for (const CallbackRecord& record : recorder.Records()) {
    EXPECT_EQ(record.thread, CurrentThreadName());
  }
}

TEST(CallDecoderTest, EveryCallReportsTheFieldsItsSchemaLists) {
  StackTables tables;
  Collector collector;
  for (const Row& row : everyCall()) row.call(tables);
  std::set<std::string> made;
  for (const CallbackEvent& event : collector.events) {
    made.insert(event.Name());
    EXPECT_TRUE(event.problems.empty()) << event.Name() << ": " << event.problems.front();
    const auto& schemas = CallbackSchemas();
    auto schema = std::find_if(
        schemas.begin(), schemas.end(),
        [&](const CallbackSchema& candidate) { return candidate.Name() == event.Name(); });
    ASSERT_NE(schema, schemas.end()) << event.Name();
    EXPECT_EQ(schema->inlineResult, event.inlineResult) << event.Name();
    for (const Field& field : event.fields) {
      const bool listed = std::count(schema->fields.begin(), schema->fields.end(), field.name) > 0;
      EXPECT_TRUE(listed || schema->openFields) << event.Name() << " reports " << field.name;
    }
    for (const std::string& name : schema->fields) {
      EXPECT_TRUE(event.Find(name)) << event.Name() << " lacks " << name;
    }
  }
  EXPECT_EQ(made.size(), CallbackSchemas().size());
}

}  // namespace
}  // namespace testing
}  // namespace tev
