// The adapter's contract with the stack and the host, one row per call or event: the status it
// returns, every line it logs, every callback it makes and every host call it leads to.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "contract_row.h"

namespace tev {
namespace testing {
namespace {

using ::testing::_;
using ::testing::InSequence;
using ::testing::Truly;
using tev::mojom::BluetoothAdapterState;
using tev::mojom::BluetoothBondState;
using tev::mojom::BluetoothDeviceType;
using tev::mojom::BluetoothDiscoveryState;
using tev::mojom::BluetoothInstance;
using tev::mojom::BluetoothProperty;
using tev::mojom::BluetoothPropertyPtr;
using tev::mojom::BluetoothPropertyType;
using tev::mojom::BluetoothStatus;

const RawAddress kDevice({0x00, 0x11, 0x22, 0x33, 0x44, 0x55});
const char kDeviceText[] = "00:11:22:33:44:55";

tev::mojom::BluetoothAddressPtr device() { return BluetoothTevService::toMojoAddress(kDevice); }

std::vector<BluetoothPropertyPtr> phone() {
  std::vector<BluetoothPropertyPtr> properties;
  properties.push_back(BluetoothProperty::NewBdname("phone"));
  properties.push_back(BluetoothProperty::NewBdaddr(device()));
  properties.push_back(BluetoothProperty::NewRemoteRssi(-60));
  return properties;
}
const char kPhoneText[] = "[1:\"phone\", 2:00:11:22:33:44:55, 11:c4]";

LibraryHarness::Options adapterOnly() {
  LibraryHarness::Options options;
  options.initGatt = false;
  return options;
}

LibraryHarness::Options hostSilent() {
  LibraryHarness::Options options = adapterOnly();
  options.host.autoInit = false;
  return options;
}

LibraryHarness::Options olderHost() {
  LibraryHarness::Options options = adapterOnly();
  options.host.bridgeVersion = 19;
  return options;
}

auto answerState(BluetoothAdapterState state) {
  return [state](const auto& reply) { reply.Run(state); };
}

std::function<void(LibraryHarness&)> enableAnswers(BluetoothAdapterState state) {
  return [state](LibraryHarness& h) {
    EXPECT_CALL(h.mock(), EnableAdapter(_)).WillOnce(answerState(state));
  };
}

std::function<void(LibraryHarness&)> disableAnswers(BluetoothAdapterState state) {
  return [state](LibraryHarness& h) {
    EXPECT_CALL(h.mock(), DisableAdapter(_)).WillOnce(answerState(state));
  };
}

// No command reaches a host that is not there, and none is repeated.
std::function<void(LibraryHarness&)> noHostCall() {
  return [](LibraryHarness& h) {
    EXPECT_CALL(h.mock(), EnableAdapter(_)).Times(0);
    EXPECT_CALL(h.mock(), DisableAdapter(_)).Times(0);
    EXPECT_CALL(h.mock(), GetAdapterProperty(_)).Times(0);
    EXPECT_CALL(h.mock(), SetAdapterProperty(_)).Times(0);
    EXPECT_CALL(h.mock(), StartDiscovery()).Times(0);
    EXPECT_CALL(h.mock(), CancelDiscovery()).Times(0);
    EXPECT_CALL(h.mock(), CreateBond(_, _)).Times(0);
    EXPECT_CALL(h.mock(), RemoveBond(_)).Times(0);
    EXPECT_CALL(h.mock(), CancelBond(_)).Times(0);
  };
}

template <typename T>
int setProperty(LibraryHarness& h, bt_property_type_t type, T* value, int len) {
  bt_property_t property{type, len, value};
  return h.bt()->set_adapter_property(&property);
}

class AdapterContractTest : public ::testing::TestWithParam<ContractRow> {};

TEST_P(AdapterContractTest, DoesExactlyWhatTheRowSays) { CheckContractRow(GetParam()); }

INSTANTIATE_TEST_SUITE_P(
    Bootstrap, AdapterContractTest,
    ::testing::Values(
        Row("init_connects_to_the_host")
            .With(adapterOnly())
            .NoStart()
            .Act([](LibraryHarness& h) {
              h.Start();
              return ContractRow::kNoStatus;
            })
            .LogsInAnyOrder({Info("BluetoothTev: initialize"),
                             Info("BluetoothTev: Mojo bootstrap initiated, version=20"),
                             Info("BluetoothTev: TEV bridge ready"),
                             Info("BluetoothTev: registered BluetoothInstance with Quarne OS"),
                             Info("BluetoothTev: Init - BluetoothHost connected")})
            .Calls({"thread_evt_cb(0)"}),
        Row("init_against_an_older_host")
            .With(olderHost())
            .NoStart()
            .Act([](LibraryHarness& h) {
              h.Start();
              return ContractRow::kNoStatus;
            })
            .LogsInAnyOrder({Info("BluetoothTev: initialize"),
                             Info("BluetoothTev: Mojo bootstrap initiated, version=20"),
                             Error("BluetoothTev: version mismatch - Quarne supports v19, we "
                                   "need v20")})
            .Calls({"thread_evt_cb(0)"}),
        Row("cleanup_disassociates_the_callback_thread")
            .With(adapterOnly())
            .Act([](LibraryHarness& h) {
              h.bt()->cleanup();
              return ContractRow::kNoStatus;
            })
            .Logs({Info("BluetoothTev: cleanup")})
            .Calls({"thread_evt_cb(1)"}),
        Row("host_pipe_lost")
            .With(adapterOnly())
            .Act([](LibraryHarness& h) {
              h.host().SeverHostPipe();
              return ContractRow::kNoStatus;
            })
            .Logs({Warning("BluetoothTev: BluetoothHost connection lost")}),
        Row("instance_pipe_lost")
            .With(adapterOnly())
            .Act([](LibraryHarness& h) {
              h.host().SeverInstancePipe();
              return ContractRow::kNoStatus;
            })
            .Logs({Warning("BluetoothTev: Mojo binding lost")}),
        Row("command_before_init_finds_no_ipc")
            .With(adapterOnly())
            .NoStart()
            .Act([](LibraryHarness& h) { return h.bt()->enable(); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: enable"), Error("BluetoothTev: Mojo not available")})),
    ContractRowName());

INSTANTIATE_TEST_SUITE_P(
    Commands, AdapterContractTest,
    ::testing::Values(
        Row("enable_answered_on")
            .With(adapterOnly())
            .Arrange(enableAnswers(BluetoothAdapterState::ON))
            .Act([](LibraryHarness& h) { return h.bt()->enable(); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: enable"), Info("BluetoothTev: EnableAdapter result: 1")})
            .Calls({"adapter_state_changed_cb(1)"}),
        Row("enable_answered_with_an_unknown_state")
            .With(adapterOnly())
            .Arrange(enableAnswers(static_cast<BluetoothAdapterState>(2)))
            .Act([](LibraryHarness& h) { return h.bt()->enable(); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: enable"), Info("BluetoothTev: EnableAdapter result: 2")})
            .Calls({"adapter_state_changed_cb(0)"}),
        Row("enable_without_a_state_slot")
            .With(adapterOnly())
            .Arrange([](LibraryHarness& h) {
              enableAnswers(BluetoothAdapterState::ON)(h);
              h.stack().callbacks()->adapter_state_changed_cb = nullptr;
            })
            .Act([](LibraryHarness& h) { return h.bt()->enable(); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: enable"), Info("BluetoothTev: EnableAdapter result: 1")}),
        Row("enable_before_the_host_is_there")
            .With(hostSilent())
            .Arrange(noHostCall())
            .Act([](LibraryHarness& h) { return h.bt()->enable(); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: enable"), Error("BluetoothTev: enable - host not ready")}),
        Row("disable_answered_on")
            .With(adapterOnly())
            .Arrange(disableAnswers(BluetoothAdapterState::ON))
            .Act([](LibraryHarness& h) { return h.bt()->disable(); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: disable"), Info("BluetoothTev: DisableAdapter result: 1")})
            .Calls({"adapter_state_changed_cb(1)"}),
        Row("disable_answered_off")
            .With(adapterOnly())
            .Arrange(disableAnswers(BluetoothAdapterState::OFF))
            .Act([](LibraryHarness& h) { return h.bt()->disable(); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: disable"), Info("BluetoothTev: DisableAdapter result: 0")})
            .Calls({"adapter_state_changed_cb(0)"}),
        Row("disable_before_the_host_is_there")
            .With(hostSilent())
            .Arrange(noHostCall())
            .Act([](LibraryHarness& h) { return h.bt()->disable(); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: disable"), Error("BluetoothTev: disable - host not ready")}),
        Row("adapter_properties_asked_one_type_at_a_time")
            .With(adapterOnly())
            .Arrange([](LibraryHarness& h) {
              InSequence order;
              for (int type : {1, 2, 3, 4, 5, 7, 8, 13}) {
                EXPECT_CALL(h.mock(), GetAdapterProperty(static_cast<BluetoothPropertyType>(type)));
              }
            })
            .Act([](LibraryHarness& h) { return h.bt()->get_adapter_properties(); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: getAdapterProperties")}),
        Row("adapter_properties_before_the_host_is_there")
            .With(hostSilent())
            .Arrange(noHostCall())
            .Act([](LibraryHarness& h) { return h.bt()->get_adapter_properties(); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: getAdapterProperties"),
                   Error("BluetoothTev: getAdapterProperty - host not ready"),
                   Error("BluetoothTev: getAdapterProperty - host not ready"),
                   Error("BluetoothTev: getAdapterProperty - host not ready"),
                   Error("BluetoothTev: getAdapterProperty - host not ready"),
                   Error("BluetoothTev: getAdapterProperty - host not ready"),
                   Error("BluetoothTev: getAdapterProperty - host not ready"),
                   Error("BluetoothTev: getAdapterProperty - host not ready"),
                   Error("BluetoothTev: getAdapterProperty - host not ready")}),
        Row("one_adapter_property")
            .With(adapterOnly())
            .Arrange([](LibraryHarness& h) {
              EXPECT_CALL(h.mock(), GetAdapterProperty(static_cast<BluetoothPropertyType>(9)));
            })
            .Act([](LibraryHarness& h) {
              return h.bt()->get_adapter_property(BT_PROPERTY_ADAPTER_DISCOVERABLE_TIMEOUT);
            })
            .Returns(BT_STATUS_SUCCESS),
        Row("one_adapter_property_before_the_host_is_there")
            .With(hostSilent())
            .Arrange(noHostCall())
            .Act([](LibraryHarness& h) { return h.bt()->get_adapter_property(BT_PROPERTY_BDNAME); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Error("BluetoothTev: getAdapterProperty - host not ready")}),
        Row("name_read_up_to_its_nul")
            .With(adapterOnly())
            .Arrange([](LibraryHarness& h) {
              EXPECT_CALL(h.mock(), SetAdapterProperty(Truly([](const BluetoothPropertyPtr& p) {
                            return p->is_bdname() && p->get_bdname() == "abc";
                          })));
            })
            .Act([](LibraryHarness& h) {
              char name[] = "abc\0garbage";
              return setProperty(h, BT_PROPERTY_BDNAME, name, 10);
            })
            .Returns(BT_STATUS_SUCCESS),
        Row("scan_mode_passed_unchanged")
            .With(adapterOnly())
            .Arrange([](LibraryHarness& h) {
              EXPECT_CALL(h.mock(), SetAdapterProperty(Truly([](const BluetoothPropertyPtr& p) {
                            return p->is_adapter_scan_mode() &&
                                   static_cast<int>(p->get_adapter_scan_mode()) == 2;
                          })));
            })
            .Act([](LibraryHarness& h) {
              int32_t mode = BT_SCAN_MODE_CONNECTABLE_DISCOVERABLE;
              return setProperty(h, BT_PROPERTY_ADAPTER_SCAN_MODE, &mode, 4);
            })
            .Returns(BT_STATUS_SUCCESS),
        Row("discoverable_timeout")
            .With(adapterOnly())
            .Arrange([](LibraryHarness& h) {
              EXPECT_CALL(h.mock(), SetAdapterProperty(Truly([](const BluetoothPropertyPtr& p) {
                            return p->is_discovery_timeout() && p->get_discovery_timeout() == 120u;
                          })));
            })
            .Act([](LibraryHarness& h) {
              uint32_t seconds = 120;
              return setProperty(h, BT_PROPERTY_ADAPTER_DISCOVERABLE_TIMEOUT, &seconds, 4);
            })
            .Returns(BT_STATUS_SUCCESS),
        Row("property_of_a_type_that_cannot_be_set")
            .With(adapterOnly())
            .Arrange(noHostCall())
            .Act([](LibraryHarness& h) {
              RawAddress address = kDevice;
              return setProperty(h, BT_PROPERTY_BDADDR, &address, 6);
            })
            .Returns(BT_STATUS_UNSUPPORTED)
            .Logs({Warning("BluetoothTev: setAdapterProperty unsupported type=2")}),
        Row("null_property")
            .With(adapterOnly())
            .Arrange(noHostCall())
            .Act([](LibraryHarness& h) { return h.bt()->set_adapter_property(nullptr); })
            .Returns(BT_STATUS_PARM_INVALID),
        Row("remote_device_properties_are_not_bridged")
            .With(adapterOnly())
            .Act([](LibraryHarness& h) { return h.bt()->get_remote_device_properties(nullptr); })
            .Returns(BT_STATUS_UNSUPPORTED)
            .Logs({Info("BluetoothTev: getRemoteDeviceProperties (no-op)")}),
        Row("remote_device_property_is_not_bridged")
            .With(adapterOnly())
            .Act([](LibraryHarness& h) {
              return h.bt()->get_remote_device_property(nullptr, BT_PROPERTY_BDNAME);
            })
            .Returns(BT_STATUS_UNSUPPORTED)
            .Logs({Info("BluetoothTev: getRemoteDeviceProperty (no-op)")}),
        Row("start_discovery")
            .With(adapterOnly())
            .Arrange([](LibraryHarness& h) { EXPECT_CALL(h.mock(), StartDiscovery()); })
            .Act([](LibraryHarness& h) { return h.bt()->start_discovery(); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: startDiscovery")}),
        Row("start_discovery_before_the_host_is_there")
            .With(hostSilent())
            .Arrange(noHostCall())
            .Act([](LibraryHarness& h) { return h.bt()->start_discovery(); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: startDiscovery")}),
        Row("cancel_discovery")
            .With(adapterOnly())
            .Arrange([](LibraryHarness& h) { EXPECT_CALL(h.mock(), CancelDiscovery()); })
            .Act([](LibraryHarness& h) { return h.bt()->cancel_discovery(); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: cancelDiscovery")}),
        Row("create_bond")
            .With(adapterOnly())
            .Arrange([](LibraryHarness& h) {
              EXPECT_CALL(h.mock(), CreateBond(AddressIs(kDevice), 2));
            })
            .Act([](LibraryHarness& h) { return h.bt()->create_bond(&kDevice, BT_TRANSPORT_LE); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info(std::string("BluetoothTev: createBond ") + kDeviceText + " transport=2")}),
        Row("create_bond_without_an_address")
            .With(adapterOnly())
            .Arrange(noHostCall())
            .Act([](LibraryHarness& h) { return h.bt()->create_bond(nullptr, 1); })
            .Returns(BT_STATUS_PARM_INVALID),
        Row("remove_bond")
            .With(adapterOnly())
            .Arrange([](LibraryHarness& h) {
              EXPECT_CALL(h.mock(), RemoveBond(AddressIs(kDevice)));
            })
            .Act([](LibraryHarness& h) { return h.bt()->remove_bond(&kDevice); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info(std::string("BluetoothTev: removeBond ") + kDeviceText)}),
        Row("remove_bond_without_an_address")
            .With(adapterOnly())
            .Arrange(noHostCall())
            .Act([](LibraryHarness& h) { return h.bt()->remove_bond(nullptr); })
            .Returns(BT_STATUS_PARM_INVALID),
        Row("cancel_bond")
            .With(adapterOnly())
            .Arrange([](LibraryHarness& h) {
              EXPECT_CALL(h.mock(), CancelBond(AddressIs(kDevice)));
            })
            .Act([](LibraryHarness& h) { return h.bt()->cancel_bond(&kDevice); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info(std::string("BluetoothTev: cancelBond ") + kDeviceText)}),
        Row("cancel_bond_without_an_address")
            .With(adapterOnly())
            .Arrange(noHostCall())
            .Act([](LibraryHarness& h) { return h.bt()->cancel_bond(nullptr); })
            .Returns(BT_STATUS_PARM_INVALID),
        Row("connection_state_is_never_connected")
            .With(adapterOnly())
            .Act([](LibraryHarness& h) { return h.bt()->get_connection_state(nullptr); })
            .Returns(0),
        Row("pin_reply_is_not_bridged")
            .With(adapterOnly())
            .Act([](LibraryHarness& h) { return h.bt()->pin_reply(&kDevice, 1, 0, nullptr); })
            .Returns(BT_STATUS_UNSUPPORTED)
            .Logs({Info("BluetoothTev: pinReply (not implemented via Mojo)")}),
        Row("ssp_reply_is_not_bridged")
            .With(adapterOnly())
            .Act([](LibraryHarness& h) {
              return h.bt()->ssp_reply(&kDevice, BT_SSP_VARIANT_CONSENT, 1, 0);
            })
            .Returns(BT_STATUS_UNSUPPORTED)
            .Logs({Info("BluetoothTev: sspReply (not implemented via Mojo)")})),
    ContractRowName());

INSTANTIATE_TEST_SUITE_P(
    Events, AdapterContractTest,
    ::testing::Values(
        Row("adapter_properties")
            .With(adapterOnly())
            .Act(HostSends([](BluetoothInstance* instance) {
              instance->OnAdapterProperties(BluetoothStatus::SUCCESS, phone());
            }))
            .Logs({Info("BluetoothTev: OnAdapterProperties status=0 count=3")})
            .Calls({std::string("adapter_properties_cb(0, 3, ") + kPhoneText + ")"}),
        Row("adapter_properties_failed_and_empty")
            .With(adapterOnly())
            .Act(HostSends([](BluetoothInstance* instance) {
              instance->OnAdapterProperties(BluetoothStatus::FAIL, {});
            }))
            .Logs({Info("BluetoothTev: OnAdapterProperties status=1 count=0")})
            .Calls({"adapter_properties_cb(1, 0, [])"}),
        Row("adapter_properties_with_a_status_the_hal_cannot_hold")
            .With(adapterOnly())
            .Act(HostSends([](BluetoothInstance* instance) {
              instance->OnAdapterProperties(static_cast<BluetoothStatus>(16), phone());
            }))
            .Logs({Info("BluetoothTev: OnAdapterProperties status=16 count=3"),
                   Warning("BluetoothTev: OnAdapterProperties status=16 unknown to the "
                           "HAL, delivered as 1")})
            .Calls({std::string("adapter_properties_cb(1, 3, ") + kPhoneText + ")"}),
        Row("adapter_properties_without_their_slot")
            .With(adapterOnly())
            .Arrange([](LibraryHarness& h) {
              h.stack().callbacks()->adapter_properties_cb = nullptr;
            })
            .Act(HostSends([](BluetoothInstance* instance) {
              instance->OnAdapterProperties(BluetoothStatus::SUCCESS, phone());
            }))
            .Logs({Info("BluetoothTev: OnAdapterProperties status=0 count=3")}),
        Row("device_found")
            .With(adapterOnly())
            .Act(HostSends([](BluetoothInstance* instance) { instance->OnDeviceFound(phone()); }))
            .Logs({Info("BluetoothTev: OnDeviceFound props=3")})
            .Calls({std::string("device_found_cb(3, ") + kPhoneText + ")"}),
        Row("device_properties_changed")
            .With(adapterOnly())
            .Act(HostSends([](BluetoothInstance* instance) {
              std::vector<BluetoothPropertyPtr> renamed;
              renamed.push_back(BluetoothProperty::NewRemoteFriendlyName("kitchen"));
              instance->OnDevicePropertiesChanged(device(), std::move(renamed));
            }))
            .Logs({Info("BluetoothTev: OnDevicePropertiesChanged")})
            .Calls({"remote_device_properties_cb(0, 00:11:22:33:44:55, 1, "
                    "[10:\"kitchen\"])"}),
        Row("discovery_started")
            .With(adapterOnly())
            .Act(HostSends([](BluetoothInstance* instance) {
              instance->OnDiscoveryStateChanged(BluetoothDiscoveryState::STARTED);
            }))
            .Logs({Info("BluetoothTev: OnDiscoveryStateChanged state=1")})
            .Calls({"discovery_state_changed_cb(1)"}),
        Row("discovery_in_an_unknown_state_is_stopped")
            .With(adapterOnly())
            .Act(HostSends([](BluetoothInstance* instance) {
              instance->OnDiscoveryStateChanged(static_cast<BluetoothDiscoveryState>(2));
            }))
            .Logs({Info("BluetoothTev: OnDiscoveryStateChanged state=2")})
            .Calls({"discovery_state_changed_cb(0)"}),
        Row("bonded")
            .With(adapterOnly())
            .Act(HostSends([](BluetoothInstance* instance) {
              instance->OnBondStateChanged(BluetoothStatus::SUCCESS, device(),
                                           BluetoothBondState::BONDED);
            }))
            .Logs({Info("BluetoothTev: OnBondStateChanged status=0 state=2")})
            .Calls({"bond_state_changed_cb(0, 00:11:22:33:44:55, 2, 0)"}),
        Row("bond_with_values_the_hal_cannot_hold")
            .With(adapterOnly())
            .Act(HostSends([](BluetoothInstance* instance) {
              instance->OnBondStateChanged(static_cast<BluetoothStatus>(20), device(),
                                           static_cast<BluetoothBondState>(4));
            }))
            .Logs({Info("BluetoothTev: OnBondStateChanged status=20 state=4"),
                   Warning("BluetoothTev: OnBondStateChanged status=20 unknown to the "
                           "HAL, delivered as 1"),
                   Warning("BluetoothTev: OnBondStateChanged state=4 unknown to the "
                           "HAL, delivered as 0")})
            .Calls({"bond_state_changed_cb(1, 00:11:22:33:44:55, 0, 0)"}),
        Row("bond_at_the_edge_of_what_the_hal_holds")
            .With(adapterOnly())
            .Act(HostSends([](BluetoothInstance* instance) {
              instance->OnBondStateChanged(static_cast<BluetoothStatus>(15), device(),
                                           static_cast<BluetoothBondState>(3));
            }))
            .Logs({Info("BluetoothTev: OnBondStateChanged status=15 state=3")})
            .Calls({"bond_state_changed_cb(15, 00:11:22:33:44:55, 3, 0)"}),
        Row("bond_of_a_null_address")
            .With(adapterOnly())
            .Act(HostSends([](BluetoothInstance* instance) {
              instance->OnBondStateChanged(BluetoothStatus::SUCCESS, nullptr,
                                           BluetoothBondState::BONDING);
            }))
            .Logs({Info("BluetoothTev: OnBondStateChanged status=0 state=1")})
            .Calls({"bond_state_changed_cb(0, 00:00:00:00:00:00, 1, 0)"}),
        Row("acl_connected")
            .With(adapterOnly())
            .Act(HostSends([](BluetoothInstance* instance) {
              instance->OnConnectionStateChanged(device(), BluetoothDeviceType::BREDR, true);
            }))
            .Logs({Info("BluetoothTev: OnConnectionStateChanged connected=1")})
            .Calls({"acl_state_changed_cb(0, 00:11:22:33:44:55, 0, 0, 0)"}),
        Row("acl_disconnected")
            .With(adapterOnly())
            .Act(HostSends([](BluetoothInstance* instance) {
              instance->OnConnectionStateChanged(device(), BluetoothDeviceType::BREDR, false);
            }))
            .Logs({Info("BluetoothTev: OnConnectionStateChanged connected=0")})
            .Calls({"acl_state_changed_cb(0, 00:11:22:33:44:55, 1, 0, 0)"})),
    ContractRowName());

}  // namespace
}  // namespace testing
}  // namespace tev
