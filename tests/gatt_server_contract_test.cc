// The GATT server's contract with the stack and the host, one row per call or event: the status
// it returns, every line it logs, every callback it makes, every host call it leads to and every
// reply the host gets to its requests. It covers server ids and links, the publication of a
// service on the host, remote requests and their responses, indications and the PHY calls.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "base/bind.h"
#include "base/strings/stringprintf.h"
#include "gatt_rows.h"
#include "tev/testing/future.h"
#include "tev/testing/stack/stack_tables.h"

namespace tev {
namespace testing {
namespace {

using ::testing::_;
using ::testing::InSequence;
using tev::mojom::BluetoothGattDBAttributeType;
using tev::mojom::BluetoothGattStatus;
using Bytes = std::vector<uint8_t>;
using Instance = tev::mojom::BluetoothInstance;
using Mock = MockBluetoothHost;
using Step = ContractRow::Step;
constexpr auto kChar = BluetoothGattDBAttributeType::CHARACTERISTIC;
constexpr auto kDesc = BluetoothGattDBAttributeType::DESCRIPTOR;
constexpr auto kSuccess = BluetoothGattStatus::SUCCESS;

const RawAddress kDevice({0x00, 0x11, 0x22, 0x33, 0x44, 0x55});
const RawAddress kStranger({0x0a, 0x0b, 0x0c, 0x09, 0x09, 0x09});
const std::string kA = kDevice.ToString();
const bluetooth::Uuid kApp = Uuid16(0x1234);
const uint8_t kPulse[] = {0x06, 0x48};

const btgatt_server_interface_t* server() { return GattTable()->server; }

const Step kConnected = HostFires(LeConnection(kDevice, true));

void registerServer(LibraryHarness&) { server()->register_server(kApp, false); }

MATCHER_P2(ServiceIdIs, uuid16, primary, "") {
  return !arg.is_null() && !arg->id.is_null() && arg->id->uuid == Uuid16(uuid16) &&
         arg->id->inst_id == 0 && arg->id->handle == 0 && arg->is_primary == primary;
}

btgatt_db_element_t element(int type, uint16_t uuid, uint8_t properties = 0,
                            uint16_t permissions = 0) {
  btgatt_db_element_t element{};
  element.type = static_cast<bt_gatt_db_attribute_type_t>(type);
  element.uuid = Uuid16(uuid);
  element.properties = properties;
  element.permissions = permissions;
  return element;
}

// Elements as RecordingStack writes them: {id type handle start end properties uuid}.
std::string elements(std::vector<std::vector<int>> list) {
  std::string text;
  for (const std::vector<int>& e : list) {
    base::StringAppendF(&text, "%s{0 %d %d %d %d %d %s}", text.empty() ? "" : ", ", e[0], e[1],
                        e[2], e[3], e[4], Uuid16(static_cast<uint16_t>(e[5])).ToString().c_str());
  }
  return "[" + text + "]";
}

// Each element is sent only once the host has answered the one before: the replies wait here
// until both threads are idle, so a call made too early finds the previous reply still parked.
int publishOneAtATime(LibraryHarness& h) {
  using HandleReply = base::RepeatingCallback<void(int32_t)>;
  Future<HandleReply> pending;
  auto park = [&pending](const auto&... args) {
    pending.SetValue(std::get<sizeof...(args) - 1>(std::tie(args...)));
  };
  {
    InSequence order;
    EXPECT_CALL(h.mock(), AddService(ServiceIdIs(0x180d, true), 5, _)).WillOnce(park);
    EXPECT_CALL(h.mock(), AddCharacteristic(100, Uuid16(0x2a37), 0x10, 1, _)).WillOnce(park);
    EXPECT_CALL(h.mock(), AddDescriptor(100, Uuid16(0x2902), 0x11, _)).WillOnce(park);
    EXPECT_CALL(h.mock(), AddCharacteristic(100, Uuid16(0x2a38), 0x02, 1, _)).WillOnce(park);
    EXPECT_CALL(h.mock(), StartService(100, _)).WillOnce(ReplyWith(kSuccess));
  }
  btgatt_db_element_t included = element(BTGATT_DB_INCLUDED_SERVICE, 0x180f);
  included.attribute_handle = 5;
  included.start_handle = 6;
  included.end_handle = 7;
  std::vector<btgatt_db_element_t> list = {element(BTGATT_DB_PRIMARY_SERVICE, 0x180d),
                                           element(BTGATT_DB_CHARACTERISTIC, 0x2a37, 0x10, 1),
                                           element(BTGATT_DB_DESCRIPTOR, 0x2902, 0, 0x11), included,
                                           element(BTGATT_DB_CHARACTERISTIC, 0x2a38, 0x02, 1)};
  const int status = server()->add_service(3, list.data(), list.size());
  for (int32_t handle : {100, 102, 103, 105}) {
    HandleReply reply = pending.Take();
    h.Settle();
    h.host().RunOnHost(base::BindOnce([](HandleReply reply, int32_t handle) { reply.Run(handle); },
                                      reply, handle));
  }
  return status;
}

// The host's replies to a remote client's requests, recorded as calls of their own.
Instance::RequestGattReadCallback readReply(RecordingStack* stack) {
  return base::BindRepeating(
      [](RecordingStack* stack, BluetoothGattStatus status, const Bytes& value) {
        std::string bytes;
        for (uint8_t byte : value) base::StringAppendF(&bytes, "%02x", byte);
        stack->Record("read_reply", std::to_string(static_cast<int>(status)) + ", " + bytes);
      },
      stack);
}

base::RepeatingCallback<void(BluetoothGattStatus)> statusReply(RecordingStack* stack,
                                                               const char* name) {
  return base::BindRepeating(
      [](RecordingStack* stack, const char* name, BluetoothGattStatus status) {
        stack->Record(name, std::to_string(static_cast<int>(status)));
      },
      stack, name);
}

// A remote client's request through the host.
Step readRequest(const RawAddress& from, int handle, int offset, bool isLong,
                 BluetoothGattDBAttributeType type) {
  return [=](LibraryHarness& h) {
    h.host().Fire([=, stack = &h.stack()](Instance* i) {
      i->RequestGattRead(MojoAddress(from), handle, offset, isLong, type, readReply(stack));
    });
  };
}

Step writeRequest(const RawAddress& from, int handle, int offset, Bytes value,
                  BluetoothGattDBAttributeType type, bool prepare) {
  return [=](LibraryHarness& h) {
    h.host().Fire([=, stack = &h.stack()](Instance* i) {
      i->RequestGattWrite(MojoAddress(from), handle, offset, value, type, prepare,
                          statusReply(stack, "write_reply"));
    });
  };
}

Step executeRequest(const RawAddress& from, bool execute) {
  return [=](LibraryHarness& h) {
    h.host().Fire([=, stack = &h.stack()](Instance* i) {
      i->RequestGattExecuteWrite(MojoAddress(from), execute, statusReply(stack, "execute_reply"));
    });
  };
}

ContractRow::Action asked(Step request) {
  return [request](LibraryHarness& h) {
    request(h);
    return ContractRow::kNoStatus;
  };
}

btgatt_response_t response(Bytes value, uint16_t len) {
  btgatt_response_t response{};
  std::copy(value.begin(), value.end(), response.attr_value.value);
  response.attr_value.len = len;
  return response;
}

void gattInitClientOnly(LibraryHarness& h) { GattInitWithout(h, &btgatt_callbacks_t::server); }

std::string responseLine(int transId, int status) {
  return base::StringPrintf("BluetoothTev: gattSendResponse trans_id=%d status=%d", transId,
                            status);
}

class GattServerContractTest : public ::testing::TestWithParam<ContractRow> {};

TEST_P(GattServerContractTest, DoesExactlyWhatTheRowSays) {
  CheckContractRow(WithOnlyExpectedHostCalls(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    Registration, GattServerContractTest,
    ::testing::Values(
        Row("register_server")
            .Act([](LibraryHarness&) { return server()->register_server(kApp, true); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattRegisterServer if=1")})
            .Calls({CallText("register_server_cb", 0, 1, kApp.ToString())}),
        Row("server_ids_only_grow")
            .Prepare(Steps({registerServer, registerServer,
                            [](LibraryHarness&) { server()->unregister_server(2); },
                            [](LibraryHarness&) { GattTable()->cleanup(); }, registerServer,
                            [](LibraryHarness& h) {
                              GattTable()->init(h.stack().gattCallbacks());
                            }}))
            .Act([](LibraryHarness&) { return server()->register_server(kApp, false); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattRegisterServer if=4")})
            .Calls({CallText("register_server_cb", 0, 4, kApp.ToString())}),
        Row("server_ids_apart_from_client_ids")
            .Prepare([](LibraryHarness&) { GattTable()->client->register_client(kApp, false); })
            .Act([](LibraryHarness&) { return server()->register_server(kApp, false); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattRegisterServer if=1")})
            .Calls({CallText("register_server_cb", 0, 1, kApp.ToString())}),
        Row("register_server_without_its_slot")
            .Arrange([](LibraryHarness& h) { h.stack().server().register_server_cb = nullptr; })
            .Act([](LibraryHarness&) { return server()->register_server(kApp, false); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattRegisterServer if=1")}),
        Row("unregister_server")
            .Act([](LibraryHarness&) { return server()->unregister_server(2); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattUnregisterServer if=2")}),
        Row("server_connect")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m, ConnectLEDevice(AddressIs(kDevice)));
            }))
            .Act([](LibraryHarness&) { return server()->connect(9, kDevice, true, 2); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattServerConnect")}),
        Row("server_disconnect")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m, DisconnectLEDevice(AddressIs(kDevice)));
            }))
            .Act([](LibraryHarness&) { return server()->disconnect(9, kDevice, 4); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattServerDisconnect")})),
    ContractRowName());

INSTANTIATE_TEST_SUITE_P(
    Publication, GattServerContractTest,
    ::testing::Values(
        Row("add_service_of_one_element")
            .Arrange(HostExpects([](Mock& m) {
              InSequence order;
              EXPECT_CALL(m, AddService(ServiceIdIs(0x180d, true), 1, _)).WillOnce(ReplyWith(40));
              EXPECT_CALL(m, StartService(40, _)).WillOnce(ReplyWith(kSuccess));
            }))
            .Act([](LibraryHarness&) {
              btgatt_db_element_t alone = element(BTGATT_DB_PRIMARY_SERVICE, 0x180d);
              return server()->add_service(3, &alone, 1);
            })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattAddService elements=1")})
            .Calls({CallText("service_added_cb", 0, 3, 1, elements({{0, 40, 40, 40, 0, 0x180d}}))}),
        Row("add_service_adds_its_elements_one_at_a_time")
            .Act(publishOneAtATime)
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattAddService elements=5")})
            .Calls({CallText("service_added_cb", 0, 3, 5,
                             elements({{0, 100, 100, 104, 0, 0x180d},
                                       {3, 102, 0, 0, 0x10, 0x2a37},
                                       {4, 103, 0, 0, 0, 0x2902},
                                       {2, 5, 6, 7, 0, 0x180f},
                                       {3, 105, 0, 0, 0x02, 0x2a38}}))}),
        Row("secondary_service_that_fails_to_start")
            .Arrange(HostExpects([](Mock& m) {
              InSequence order;
              EXPECT_CALL(m, AddService(ServiceIdIs(0x1801, false), 2, _)).WillOnce(ReplyWith(60));
              EXPECT_CALL(m, AddCharacteristic(60, Uuid16(0x2a00), 2, 1, _))
                  .WillOnce(ReplyWith(61));
              EXPECT_CALL(m, StartService(60, _))
                  .WillOnce(ReplyWith(BluetoothGattStatus::INSUFFICIENT_RESOURCES));
            }))
            .Act([](LibraryHarness&) {
              btgatt_db_element_t list[] = {element(BTGATT_DB_SECONDARY_SERVICE, 0x1801),
                                            element(BTGATT_DB_CHARACTERISTIC, 0x2a00, 2, 1)};
              return server()->add_service(4, list, 2);
            })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattAddService elements=2")})
            .Calls({CallText("service_added_cb", 1, 4, 2,
                             elements({{1, 60, 60, 61, 0, 0x1801}, {3, 61, 0, 0, 2, 0x2a00}}))}),
        Row("add_service_refused")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m, AddService(ServiceIdIs(0x180d, true), 2, _)).WillOnce(ReplyWith(-1));
            }))
            .Act([](LibraryHarness&) {
              btgatt_db_element_t list[] = {element(BTGATT_DB_PRIMARY_SERVICE, 0x180d),
                                            element(BTGATT_DB_CHARACTERISTIC, 0x2a37, 2, 1)};
              list[0].attribute_handle = 9;
              return server()->add_service(4, list, 2);
            })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattAddService elements=2"),
                   Error("BluetoothTev: AddService failed")})
            .Calls({CallText("service_added_cb", 1, 4, 2,
                             elements({{0, 9, 0, 0, 0, 0x180d}, {3, 0, 0, 0, 2, 0x2a37}}))}),
        Row("add_service_refused_without_its_slot")
            .Arrange(Steps({HostExpects([](Mock& m) {
                              EXPECT_CALL(m, AddService(_, 1, _)).WillOnce(ReplyWith(-1));
                            }),
                            [](LibraryHarness& h) {
                              h.stack().server().service_added_cb = nullptr;
                            }}))
            .Act([](LibraryHarness&) {
              btgatt_db_element_t alone = element(BTGATT_DB_PRIMARY_SERVICE, 0x180d);
              return server()->add_service(4, &alone, 1);
            })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattAddService elements=1"),
                   Error("BluetoothTev: AddService failed")}),
        Row("add_service_gives_up_on_a_refused_attribute")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m, AddService(ServiceIdIs(0x1803, true), 2, _)).WillOnce(ReplyWith(70));
              EXPECT_CALL(m, AddCharacteristic(70, Uuid16(0x2a01), 2, 1, _))
                  .WillOnce(ReplyWith(-3));
            }))
            .Act([](LibraryHarness&) {
              btgatt_db_element_t list[] = {element(BTGATT_DB_PRIMARY_SERVICE, 0x1803),
                                            element(BTGATT_DB_CHARACTERISTIC, 0x2a01, 2, 1)};
              return server()->add_service(4, list, 2);
            })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattAddService elements=2")})
            .Calls({CallText("service_added_cb", 1, 4, 2,
                             elements({{0, 70, 70, 0, 0, 0x1803}, {3, 0, 0, 0, 2, 0x2a01}}))}),
        Row("add_service_of_no_elements")
            .Act([](LibraryHarness&) { return server()->add_service(3, nullptr, 0); })
            .Returns(BT_STATUS_PARM_INVALID),
        Row("stop_service")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m, StopService(40, _)).WillOnce(ReplyWith(kSuccess));
            }))
            .Act([](LibraryHarness&) { return server()->stop_service(3, 40); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattStopService handle=40")})
            .Calls({"service_stopped_cb(0, 3, 40)"}),
        Row("stop_service_refused")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m, StopService(40, _)).WillOnce(ReplyWith(BluetoothGattStatus(0x85)));
            }))
            .Act([](LibraryHarness&) { return server()->stop_service(3, 40); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattStopService handle=40")})
            .Calls({"service_stopped_cb(1, 3, 40)"}),
        Row("stop_service_without_its_slot")
            .Arrange(Steps({HostExpects([](Mock& m) {
                              EXPECT_CALL(m, StopService(40, _)).WillOnce(ReplyWith(kSuccess));
                            }),
                            [](LibraryHarness& h) {
                              h.stack().server().service_stopped_cb = nullptr;
                            }}))
            .Act([](LibraryHarness&) { return server()->stop_service(3, 40); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattStopService handle=40")}),
        Row("delete_service")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m, DeleteService(40, _)).WillOnce(ReplyWith(kSuccess));
            }))
            .Act([](LibraryHarness&) { return server()->delete_service(3, 40); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattDeleteService handle=40")})
            .Calls({"service_deleted_cb(0, 3, 40)"}),
        Row("delete_service_refused")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m, DeleteService(40, _)).WillOnce(ReplyWith(BluetoothGattStatus(0x85)));
            }))
            .Act([](LibraryHarness&) { return server()->delete_service(3, 40); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattDeleteService handle=40")})
            .Calls({"service_deleted_cb(1, 3, 40)"})),
    ContractRowName());

INSTANTIATE_TEST_SUITE_P(
    Requests, GattServerContractTest,
    ::testing::Values(
        Row("read_request_for_a_characteristic")
            .Prepare(kConnected)
            .Act(asked(readRequest(kDevice, 21, 5, true, kChar)))
            .Calls({CallText("request_read_characteristic_cb", 1, 1, kA, 21, 5, 1)}),
        Row("read_request_for_a_descriptor")
            .Prepare(kConnected)
            .Act(asked(readRequest(kDevice, 22, 0, false, kDesc)))
            .Calls({CallText("request_read_descriptor_cb", 1, 1, kA, 22, 0, 0)}),
        Row("read_request_for_a_service")
            .Prepare(kConnected)
            .Act(asked(readRequest(kDevice, 20, 0, false,
                                   BluetoothGattDBAttributeType::PRIMARY_SERVICE)))
            .Calls({CallText("request_read_descriptor_cb", 1, 1, kA, 20, 0, 0)}),
        Row("read_request_from_an_unknown_device")
            .Prepare(kConnected)
            .Act(asked(readRequest(kStranger, 21, 0, false, kChar)))
            .Calls({"read_reply(257, )"})
            .CallbacksOn("host"),
        Row("unknown_device_takes_no_transaction_id")
            .Prepare(Steps({kConnected, readRequest(kStranger, 21, 0, false, kChar)}))
            .Act(asked(readRequest(kDevice, 21, 0, false, kChar)))
            .Calls({CallText("request_read_characteristic_cb", 1, 1, kA, 21, 0, 0)}),
        Row("requests_take_transaction_ids_in_turn")
            .Prepare(kConnected)
            .Act(asked(Steps({readRequest(kDevice, 21, 0, false, kChar),
                              writeRequest(kDevice, 21, 0, {0x07}, kChar, false),
                              executeRequest(kDevice, true)})))
            .Calls({CallText("request_read_characteristic_cb", 1, 1, kA, 21, 0, 0),
                    CallText("request_write_characteristic_cb", 1, 2, kA, 21, 0, 1, 0, "07"),
                    CallText("request_exec_write_cb", 1, 3, kA, 1)}),
        Row("write_request_for_a_characteristic")
            .Prepare(kConnected)
            .Act(asked(writeRequest(kDevice, 21, 0, {0x01, 0x00}, kChar, false)))
            .Calls({CallText("request_write_characteristic_cb", 1, 1, kA, 21, 0, 1, 0, "0100")}),
        Row("prepared_write_request_for_a_descriptor")
            .Prepare(kConnected)
            .Act(asked(writeRequest(kDevice, 22, 2, {0x01}, kDesc, true)))
            .Calls({CallText("request_write_descriptor_cb", 1, 1, kA, 22, 2, 1, 1, "01")}),
        Row("write_request_from_an_unknown_device")
            .Prepare(kConnected)
            .Act(asked(writeRequest(kStranger, 21, 0, {0x01}, kChar, false)))
            .Calls({"write_reply(257)"})
            .CallbacksOn("host"),
        Row("execute_write_request")
            .Prepare(kConnected)
            .Act(asked(executeRequest(kDevice, true)))
            .Calls({CallText("request_exec_write_cb", 1, 1, kA, 1)}),
        Row("cancel_write_request")
            .Prepare(kConnected)
            .Act(asked(executeRequest(kDevice, false)))
            .Calls({CallText("request_exec_write_cb", 1, 1, kA, 0)}),
        Row("execute_write_request_from_an_unknown_device")
            .Prepare(kConnected)
            .Act(asked(executeRequest(kStranger, true)))
            .Calls({"execute_reply(257)"})
            .CallbacksOn("host"),
        Row("request_without_a_server_table")
            .Prepare(Steps({kConnected, gattInitClientOnly}))
            .Act(asked(readRequest(kDevice, 21, 0, false, kChar))),
        Row("request_without_its_slot")
            .Arrange([](LibraryHarness& h) {
              h.stack().server().request_write_descriptor_cb = nullptr;
            })
            .Prepare(kConnected)
            .Act(asked(writeRequest(kDevice, 22, 0, {0x01}, kDesc, false)))),
    ContractRowName());

INSTANTIATE_TEST_SUITE_P(
    Responses, GattServerContractTest,
    ::testing::Values(
        // The connection id of a response is not looked at: the transaction names the request.
        Row("response_to_a_read")
            .Prepare(Steps({kConnected, readRequest(kDevice, 21, 0, false, kChar)}))
            .Act([](LibraryHarness&) {
              return server()->send_response(9, 1, 0, response({0x06, 0x48, 0x49}, 2));
            })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info(responseLine(1, 0))})
            .Calls({"read_reply(0, 0648)"})
            .CallbacksOn("host"),
        Row("failed_read_is_answered_without_a_value")
            .Prepare(Steps({kConnected, readRequest(kDevice, 21, 0, false, kChar)}))
            .Act([](LibraryHarness&) {
              return server()->send_response(1, 1, 13, response({0x06, 0x48}, 2));
            })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info(responseLine(1, 13))})
            .Calls({"read_reply(13, )"})
            .CallbacksOn("host"),
        Row("response_to_a_write")
            .Prepare(Steps({kConnected, writeRequest(kDevice, 21, 0, {0x01}, kChar, false)}))
            .Act([](LibraryHarness&) {
              return server()->send_response(1, 1, 0x101, response({0x01}, 1));
            })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info(responseLine(1, 257))})
            .Calls({"write_reply(257)"})
            .CallbacksOn("host"),
        Row("response_to_an_execute_write")
            .Prepare(Steps({kConnected, executeRequest(kDevice, true)}))
            .Act([](LibraryHarness&) { return server()->send_response(1, 1, 0, response({}, 0)); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info(responseLine(1, 0))})
            .Calls({"execute_reply(0)"})
            .CallbacksOn("host"),
        Row("response_to_an_unknown_transaction")
            .Prepare(kConnected)
            .Act([](LibraryHarness&) { return server()->send_response(1, 7, 0, response({}, 0)); })
            .Returns(BT_STATUS_FAIL)
            .Logs({Info(responseLine(7, 0)),
                   Warning("BluetoothTev: gattSendResponse - unknown trans_id 7")}),
        Row("second_response_to_a_transaction")
            .Prepare(Steps({kConnected, readRequest(kDevice, 21, 0, false, kChar),
                            [](LibraryHarness& h) {
                              h.Settle();
                              server()->send_response(1, 1, 0, response({}, 0));
                            }}))
            .Act([](LibraryHarness&) { return server()->send_response(1, 1, 0, response({}, 0)); })
            .Returns(BT_STATUS_FAIL)
            .Logs({Info(responseLine(1, 0)),
                   Warning("BluetoothTev: gattSendResponse - unknown trans_id 1")})),
    ContractRowName());

INSTANTIATE_TEST_SUITE_P(
    Indications, GattServerContractTest,
    ::testing::Values(
        Row("indication")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m, SendIndication(21, AddressIs(kDevice), true, Bytes{0x06, 0x48}, _))
                  .WillOnce(ReplyWith(BluetoothGattStatus(0x85)));
            }))
            .Prepare(kConnected)
            .Act([](LibraryHarness&) { return server()->send_indication(2, 21, 1, 1, kPulse, 2); })
            .Returns(BT_STATUS_SUCCESS)
            .Calls({"indication_sent_cb(1, 133)"}),
        Row("notification_to_a_remote_client")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m, SendIndication(21, AddressIs(kDevice), false, Bytes{0x06}, _))
                  .WillOnce(ReplyWith(kSuccess));
            }))
            .Prepare(kConnected)
            .Act([](LibraryHarness&) { return server()->send_indication(2, 21, 1, 0, kPulse, 1); })
            .Returns(BT_STATUS_SUCCESS)
            .Calls({"indication_sent_cb(1, 0)"}),
        Row("indication_without_its_slot")
            .Arrange(Steps(
                {HostExpects([](Mock& m) {
                   EXPECT_CALL(m, SendIndication(21, _, true, _, _)).WillOnce(ReplyWith(kSuccess));
                 }),
                 [](LibraryHarness& h) { h.stack().server().indication_sent_cb = nullptr; }}))
            .Prepare(kConnected)
            .Act([](LibraryHarness&) { return server()->send_indication(2, 21, 1, 1, kPulse, 2); })
            .Returns(BT_STATUS_SUCCESS),
        Row("indication_to_an_unknown_connection")
            .Prepare(kConnected)
            .Act([](LibraryHarness&) { return server()->send_indication(2, 21, 2, 1, kPulse, 2); })
            .Returns(BT_STATUS_FAIL),
        Row("read_phy_answers_on_the_caller")
            .Act([](LibraryHarness&) {
              return server()->read_phy(kDevice, ReadPhyCallback(Table::kGattServer));
            })
            .Returns(BT_STATUS_SUCCESS)
            .Calls({"read_phy_cb(1, 1, 0)"})
            .CallbacksOn(CallerThread()),
        Row("set_preferred_phy")
            .Act([](LibraryHarness&) { return server()->set_preferred_phy(kDevice, 2, 2, 0); })
            .Returns(BT_STATUS_SUCCESS)),
    ContractRowName());

}  // namespace
}  // namespace testing
}  // namespace tev
