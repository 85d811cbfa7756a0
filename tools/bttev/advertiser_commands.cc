// The advertiser object of the GATT table, as the stack calls it. Every answer it might hand to a
// callback argument is reported as an inline advertiser.* callback, so that a script can check
// that none comes.
#include "base/bind.h"
#include "base/strings/stringprintf.h"
#include "command_table.h"
#include "session.h"
#include "stack_side.h"

namespace tev {
namespace bttev {
namespace {

using Advertiser = BleAdvertiserInterface;

Advertiser::StatusCallback statusCallback(const std::string& slot) {
  return testing::InlineResult<uint8_t>(Table::kGattAdvertiser, slot, {"status"});
}

Advertiser::IdStatusCallback idStatusCallback(const std::string& slot) {
  return testing::InlineResult<uint8_t, uint8_t>(Table::kGattAdvertiser, slot, {"advertiser_id", "status"});
}

AdvertiseParameters legacyParameters() {
  AdvertiseParameters params{};
  params.advertising_event_properties = 0x13;
  params.min_interval = 160;
  params.max_interval = 160;
  params.channel_map = 0x07;
  params.primary_advertising_phy = 1;
  params.secondary_advertising_phy = 1;
  return params;
}

bool onAdvertiser(Session& session, CommandArgs& args, std::string* error, const std::string& call,
                  const std::function<void(Advertiser*)>& body) {
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  session.CallVoid("advertiser." + call, [&] { body(gatt->advertiser); });
  return true;
}

int64_t idArg(CommandArgs& args) { return args.Int(0, "advertiser_id"); }

bool registerAdvertiser(Session& session, CommandArgs& args, std::string* error) {
  return onAdvertiser(session, args, error, "RegisterAdvertiser(callback)",
                      [](Advertiser* a) { a->RegisterAdvertiser(idStatusCallback("register_cb")); });
}

bool unregisterAdvertiser(Session& session, CommandArgs& args, std::string* error) {
  const int64_t id = idArg(args);
  return onAdvertiser(session, args, error, base::StringPrintf("Unregister(%lld)", static_cast<long long>(id)),
                      [&](Advertiser* a) { a->Unregister(static_cast<uint8_t>(id)); });
}

bool getOwnAddress(Session& session, CommandArgs& args, std::string* error) {
  const int64_t id = idArg(args);
  return onAdvertiser(session, args, error,
                      base::StringPrintf("GetOwnAddress(%lld, callback)", static_cast<long long>(id)),
                      [&](Advertiser* a) {
                        a->GetOwnAddress(static_cast<uint8_t>(id), base::BindRepeating([](uint8_t type, RawAddress) {
                                           testing::SendInlineResult(Table::kGattAdvertiser, "get_own_address_cb",
                                                                     {"address_type"}, {type});
                                         }));
                      });
}

bool setParameters(Session& session, CommandArgs& args, std::string* error) {
  const int64_t id = idArg(args);
  return onAdvertiser(session, args, error,
                      base::StringPrintf("SetParameters(%lld, legacy, callback)", static_cast<long long>(id)),
                      [&](Advertiser* a) {
                        a->SetParameters(static_cast<uint8_t>(id), legacyParameters(),
                                         testing::InlineResult<uint8_t, int8_t>(
                                             Table::kGattAdvertiser, "set_parameters_cb", {"status", "tx_power"}));
                      });
}

bool setData(Session& session, CommandArgs& args, std::string* error) {
  const int64_t id = idArg(args);
  const bool scanResponse = args.Choice(1, "data kind", {"advertising", "scan_response"}) != 0;
  const std::vector<uint8_t> data = args.Bytes(2, "the data");
  return onAdvertiser(
      session, args, error,
      base::StringPrintf("SetData(%lld, %d, %s, callback)", static_cast<long long>(id), scanResponse,
                         ValueText(data).c_str()),
      [&](Advertiser* a) { a->SetData(static_cast<int>(id), scanResponse, data, statusCallback("set_data_cb")); });
}

bool enable(Session& session, CommandArgs& args, std::string* error) {
  const int64_t id = idArg(args);
  const bool on = args.Choice(1, "enable", {"off", "on"}) != 0;
  return onAdvertiser(session, args, error,
                      base::StringPrintf("Enable(%lld, %d, callback, 0, 0, callback)", static_cast<long long>(id), on),
                      [&](Advertiser* a) {
                        a->Enable(static_cast<uint8_t>(id), on, statusCallback("enable_cb"), 0, 0,
                                  statusCallback("enable_timeout_cb"));
                      });
}

bool startAdvertising(Session& session, CommandArgs& args, std::string* error) {
  const int64_t id = idArg(args);
  const std::vector<uint8_t> data = args.has(1) ? args.Bytes(1, "the advertising data") : std::vector<uint8_t>();
  return onAdvertiser(session, args, error,
                      base::StringPrintf("StartAdvertising(%lld, callback, legacy, %s, -, 0, callback)",
                                         static_cast<long long>(id), ValueText(data).c_str()),
                      [&](Advertiser* a) {
                        a->StartAdvertising(static_cast<uint8_t>(id), statusCallback("start_cb"), legacyParameters(),
                                            data, {}, 0, statusCallback("start_timeout_cb"));
                      });
}

bool startAdvertisingSet(Session& session, CommandArgs& args, std::string* error) {
  const int64_t regId = args.Int(0, "reg_id");
  const std::vector<uint8_t> data = args.has(1) ? args.Bytes(1, "the advertising data") : std::vector<uint8_t>();
  return onAdvertiser(session, args, error,
                      base::StringPrintf("StartAdvertisingSet(%lld, callback, legacy, %s, -, none, -, 0, 0, callback)",
                                         static_cast<long long>(regId), ValueText(data).c_str()),
                      [&](Advertiser* a) {
                        a->StartAdvertisingSet(
                            static_cast<int>(regId),
                            testing::InlineResult<uint8_t, int8_t, uint8_t>(Table::kGattAdvertiser, "set_started_cb",
                                                                            {"advertiser_id", "tx_power", "status"}),
                            legacyParameters(), data, {}, PeriodicAdvertisingParameters{}, {}, 0, 0,
                            idStatusCallback("set_timeout_cb"));
                      });
}

bool periodicParameters(Session& session, CommandArgs& args, std::string* error) {
  const int64_t id = idArg(args);
  return onAdvertiser(session, args, error,
                      base::StringPrintf("SetPeriodicAdvertisingParameters(%lld, {1, 80, 80, 0}, callback)",
                                         static_cast<long long>(id)),
                      [&](Advertiser* a) {
                        a->SetPeriodicAdvertisingParameters(static_cast<int>(id),
                                                            PeriodicAdvertisingParameters{1, 80, 80, 0},
                                                            statusCallback("periodic_parameters_cb"));
                      });
}

bool periodicData(Session& session, CommandArgs& args, std::string* error) {
  const int64_t id = idArg(args);
  const std::vector<uint8_t> data = args.Bytes(1, "the data");
  return onAdvertiser(session, args, error,
                      base::StringPrintf("SetPeriodicAdvertisingData(%lld, %s, callback)", static_cast<long long>(id),
                                         ValueText(data).c_str()),
                      [&](Advertiser* a) {
                        a->SetPeriodicAdvertisingData(static_cast<int>(id), data, statusCallback("periodic_data_cb"));
                      });
}

bool periodicEnable(Session& session, CommandArgs& args, std::string* error) {
  const int64_t id = idArg(args);
  const bool on = args.Choice(1, "enable", {"off", "on"}) != 0;
  return onAdvertiser(
      session, args, error,
      base::StringPrintf("SetPeriodicAdvertisingEnable(%lld, %d, callback)", static_cast<long long>(id), on),
      [&](Advertiser* a) {
        a->SetPeriodicAdvertisingEnable(static_cast<int>(id), on, statusCallback("periodic_enable_cb"));
      });
}

bool registerCallbacks(Session& session, CommandArgs& args, std::string* error) {
  // The stack's advertising callbacks belong to its Java layer; a driver has none to offer.
  return onAdvertiser(session, args, error, "RegisterCallbacks(null)",
                      [](Advertiser* a) { a->RegisterCallbacks(nullptr); });
}

}  // namespace

std::vector<CommandEntry> AdvertiserCommands() {
  return {
      {"advertiser", "advertiser", "register", "", "RegisterAdvertiser (advertiser.register_cb, if it answers)", 0, 0,
       false, registerAdvertiser, "advertiser register"},
      {"advertiser", "advertiser", "unregister", "ADVERTISER_ID", "Unregister", 1, 1, false, unregisterAdvertiser,
       "advertiser unregister 1"},
      {"advertiser", "advertiser", "get_own_address", "ADVERTISER_ID", "GetOwnAddress (advertiser.get_own_address_cb)",
       1, 1, false, getOwnAddress, "advertiser get_own_address 1"},
      {"advertiser", "advertiser", "set_parameters", "ADVERTISER_ID",
       "SetParameters with legacy parameters (advertiser.set_parameters_cb)", 1, 1, false, setParameters,
       "advertiser set_parameters 1"},
      {"advertiser", "advertiser", "set_data", "ADVERTISER_ID advertising|scan_response DATA",
       "SetData (advertiser.set_data_cb)", 3, 3, false, setData, "advertiser set_data 1 advertising 020106"},
      {"advertiser", "advertiser", "enable", "ADVERTISER_ID on|off", "Enable (advertiser.enable_cb)", 2, 2, false,
       enable, "advertiser enable 1 on"},
      {"advertiser", "advertiser", "start", "ADVERTISER_ID [DATA]",
       "StartAdvertising with legacy parameters (advertiser.start_cb)", 1, 2, false, startAdvertising,
       "advertiser start 1 020106"},
      {"advertiser", "advertiser", "start_set", "REG_ID [DATA]",
       "StartAdvertisingSet with legacy parameters (advertiser.set_started_cb)", 1, 2, false, startAdvertisingSet,
       "advertiser start_set 1 020106"},
      {"advertiser", "advertiser", "periodic_parameters", "ADVERTISER_ID",
       "SetPeriodicAdvertisingParameters (advertiser.periodic_parameters_cb)", 1, 1, false, periodicParameters,
       "advertiser periodic_parameters 1"},
      {"advertiser", "advertiser", "periodic_data", "ADVERTISER_ID DATA",
       "SetPeriodicAdvertisingData (advertiser.periodic_data_cb)", 2, 2, false, periodicData,
       "advertiser periodic_data 1 0201"},
      {"advertiser", "advertiser", "periodic_enable", "ADVERTISER_ID on|off",
       "SetPeriodicAdvertisingEnable (advertiser.periodic_enable_cb)", 2, 2, false, periodicEnable,
       "advertiser periodic_enable 1 on"},
      {"advertiser", "advertiser", "register_callbacks", "", "RegisterCallbacks with no advertising callbacks", 0, 0,
       false, registerCallbacks, "advertiser register_callbacks"},
  };
}

}  // namespace bttev
}  // namespace tev
