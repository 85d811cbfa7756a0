// The scanner object of the GATT table, as the stack calls it: registration, scanning, filters,
// batch scans and periodic-advertising sync. Results handed to a call's callback argument are
// reported as inline scanner.* callbacks.
#include <memory>

#include "base/strings/stringprintf.h"
#include "command_table.h"
#include "session.h"
#include "stack_side.h"

namespace tev {
namespace bttev {
namespace {

// The arguments from `from` on, as numbers named by `names`; optional ones default to 0.
std::vector<int64_t> numbers(CommandArgs& args, size_t from, const std::vector<const char*>& names) {
  std::vector<int64_t> values;
  for (size_t i = 0; i < names.size(); ++i) values.push_back(args.Int(from + i, names[i]));
  return values;
}

std::string joined(const std::vector<int64_t>& values) {
  std::string text;
  for (int64_t value : values) text += (text.empty() ? "" : ", ") + std::to_string(value);
  return text;
}

BleScannerInterface::FilterConfigCallback filterConfigCallback(const std::string& slot) {
  return testing::InlineResult<uint8_t, uint8_t, uint8_t, uint8_t>(Table::kGattScanner, slot,
                                                                   {"filt_type", "avbl_space", "action", "status"});
}

// Reads the arguments, then calls `body` with the scanner once they are good.
bool onScanner(Session& session, CommandArgs& args, std::string* error, const std::string& call,
               const std::function<void(BleScannerInterface*)>& body) {
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  session.CallVoid("scanner." + call, [&] { body(gatt->scanner); });
  return true;
}

bool registerScanner(Session& session, CommandArgs& args, std::string* error) {
  const bluetooth::Uuid uuid = args.Uuid(0);
  return onScanner(session, args, error, "RegisterScanner(" + UuidText(uuid) + ", callback)",
                   [&](BleScannerInterface* s) { s->RegisterScanner(uuid, ScannerRegisteredCallback()); });
}

bool unregisterScanner(Session& session, CommandArgs& args, std::string* error) {
  const int64_t id = args.Int(0, "scanner_id");
  return onScanner(session, args, error, base::StringPrintf("Unregister(%lld)", static_cast<long long>(id)),
                   [&](BleScannerInterface* s) { s->Unregister(static_cast<int>(id)); });
}

bool scan(Session& session, CommandArgs& args, std::string* error) {
  const bool start = args.Choice(0, "scan", {"off", "on"}) != 0;
  return onScanner(session, args, error, start ? "Scan(true)" : "Scan(false)",
                   [&](BleScannerInterface* s) { s->Scan(start); });
}

bool setScanParameters(Session& session, CommandArgs& args, std::string* error) {
  const std::vector<int64_t> v = numbers(args, 0, {"scanner_id", "interval", "window"});
  return onScanner(session, args, error, "SetScanParameters(" + joined(v) + ", callback)", [&](BleScannerInterface* s) {
    s->SetScanParameters(static_cast<int>(v[0]), static_cast<int>(v[1]), static_cast<int>(v[2]),
                         ScannerStatusCallback("set_parameters_cb"));
  });
}

bool filterParamSetup(Session& session, CommandArgs& args, std::string* error) {
  const std::vector<int64_t> v = numbers(args, 0, {"client_if", "action", "filt_index"});
  const bool noParams = args.IsNull(3);
  return onScanner(
      session, args, error, "ScanFilterParamSetup(" + joined(v) + (noParams ? ", null" : ", params") + ", callback)",
      [&](BleScannerInterface* s) {
        auto params = noParams ? nullptr : std::make_unique<btgatt_filt_param_setup_t>();
        s->ScanFilterParamSetup(static_cast<uint8_t>(v[0]), static_cast<uint8_t>(v[1]), static_cast<uint8_t>(v[2]),
                                std::move(params),
                                testing::InlineResult<uint8_t, uint8_t, uint8_t>(
                                    Table::kGattScanner, "filter_param_setup_cb", {"avbl_space", "action", "status"}));
      });
}

bool filterAdd(Session& session, CommandArgs& args, std::string* error) {
  const int64_t index = args.Int(0, "filter_index");
  const RawAddress address = args.has(1) ? args.Address(1) : RawAddress::kEmpty;
  const size_t count = args.has(1) ? 1 : 0;
  return onScanner(
      session, args, error,
      base::StringPrintf("ScanFilterAdd(%lld, %zu filter(s), callback)", static_cast<long long>(index), count),
      [&](BleScannerInterface* s) {
        std::vector<ApcfCommand> filters(count);
        if (count) filters[0].address = address;
        s->ScanFilterAdd(static_cast<int>(index), std::move(filters), filterConfigCallback("filter_add_cb"));
      });
}

bool filterClear(Session& session, CommandArgs& args, std::string* error) {
  const int64_t index = args.Int(0, "filter_index");
  return onScanner(session, args, error,
                   base::StringPrintf("ScanFilterClear(%lld, callback)", static_cast<long long>(index)),
                   [&](BleScannerInterface* s) {
                     s->ScanFilterClear(static_cast<int>(index), filterConfigCallback("filter_clear_cb"));
                   });
}

bool filterEnable(Session& session, CommandArgs& args, std::string* error) {
  const bool enable = args.Choice(0, "filtering", {"off", "on"}) != 0;
  return onScanner(session, args, error,
                   enable ? "ScanFilterEnable(true, callback)" : "ScanFilterEnable(false, callback)",
                   [&](BleScannerInterface* s) { s->ScanFilterEnable(enable, ScanFilterEnableCallback()); });
}

bool batchscanConfigStorage(Session& session, CommandArgs& args, std::string* error) {
  const std::vector<int64_t> v = numbers(args, 0, {"client_if", "full_max", "trunc_max", "notify_threshold"});
  return onScanner(
      session, args, error, "BatchscanConfigStorage(" + joined(v) + ", callback)", [&](BleScannerInterface* s) {
        s->BatchscanConfigStorage(static_cast<int>(v[0]), static_cast<int>(v[1]), static_cast<int>(v[2]),
                                  static_cast<int>(v[3]), ScannerStatusCallback("batchscan_config_storage_cb"));
      });
}

bool batchscanEnable(Session& session, CommandArgs& args, std::string* error) {
  const std::vector<int64_t> v = numbers(args, 0, {"scan_mode", "interval", "window", "addr_type", "discard_rule"});
  return onScanner(session, args, error, "BatchscanEnable(" + joined(v) + ", callback)", [&](BleScannerInterface* s) {
    s->BatchscanEnable(static_cast<int>(v[0]), static_cast<int>(v[1]), static_cast<int>(v[2]), static_cast<int>(v[3]),
                       static_cast<int>(v[4]), ScannerStatusCallback("batchscan_enable_cb"));
  });
}

bool batchscanDisable(Session& session, CommandArgs& args, std::string* error) {
  return onScanner(session, args, error, "BatchscanDisable(callback)",
                   [&](BleScannerInterface* s) { s->BatchscanDisable(ScannerStatusCallback("batchscan_disable_cb")); });
}

bool batchscanReadReports(Session& session, CommandArgs& args, std::string* error) {
  const std::vector<int64_t> v = numbers(args, 0, {"client_if", "scan_mode"});
  return onScanner(session, args, error, "BatchscanReadReports(" + joined(v) + ")", [&](BleScannerInterface* s) {
    s->BatchscanReadReports(static_cast<int>(v[0]), static_cast<int>(v[1]));
  });
}

bool startSync(Session& session, CommandArgs& args, std::string* error) {
  const int64_t sid = args.Int(0, "sid");
  const RawAddress address = args.Address(1);
  const std::vector<int64_t> v = numbers(args, 2, {"skip", "timeout", "reg_id"});
  return onScanner(session, args, error,
                   base::StringPrintf("StartSync(%lld, %s, %s)", static_cast<long long>(sid),
                                      address.ToString().c_str(), joined(v).c_str()),
                   [&](BleScannerInterface* s) {
                     s->StartSync(static_cast<uint8_t>(sid), address, static_cast<uint16_t>(v[0]),
                                  static_cast<uint16_t>(v[1]), static_cast<int>(v[2]));
                   });
}

bool stopSync(Session& session, CommandArgs& args, std::string* error) {
  const int64_t handle = args.Int(0, "sync handle");
  return onScanner(session, args, error, base::StringPrintf("StopSync(%lld)", static_cast<long long>(handle)),
                   [&](BleScannerInterface* s) { s->StopSync(static_cast<uint16_t>(handle)); });
}

bool cancelCreateSync(Session& session, CommandArgs& args, std::string* error) {
  const int64_t sid = args.Int(0, "sid");
  const RawAddress address = args.Address(1);
  return onScanner(
      session, args, error,
      base::StringPrintf("CancelCreateSync(%lld, %s)", static_cast<long long>(sid), address.ToString().c_str()),
      [&](BleScannerInterface* s) { s->CancelCreateSync(static_cast<uint8_t>(sid), address); });
}

// TransferSync and TransferSetInfo: an address and three numbers.
bool transfer(Session& session, CommandArgs& args, std::string* error, bool setInfo) {
  const RawAddress address = args.Address(0);
  const std::vector<int64_t> v =
      numbers(args, 1, {"service_data", setInfo ? "adv_handle" : "sync_handle", "pa_source"});
  const char* name = setInfo ? "TransferSetInfo" : "TransferSync";
  return onScanner(
      session, args, error, base::StringPrintf("%s(%s, %s)", name, address.ToString().c_str(), joined(v).c_str()),
      [&](BleScannerInterface* s) {
        if (setInfo) {
          s->TransferSetInfo(address, static_cast<uint16_t>(v[0]), static_cast<uint8_t>(v[1]), static_cast<int>(v[2]));
        } else {
          s->TransferSync(address, static_cast<uint16_t>(v[0]), static_cast<uint16_t>(v[1]), static_cast<int>(v[2]));
        }
      });
}

bool transferSync(Session& session, CommandArgs& args, std::string* error) {
  return transfer(session, args, error, false);
}

bool transferSetInfo(Session& session, CommandArgs& args, std::string* error) {
  return transfer(session, args, error, true);
}

bool syncTxParameters(Session& session, CommandArgs& args, std::string* error) {
  const RawAddress address = args.Address(0);
  const std::vector<int64_t> v = numbers(args, 1, {"mode", "skip", "timeout", "reg_id"});
  return onScanner(session, args, error,
                   base::StringPrintf("SyncTxParameters(%s, %s)", address.ToString().c_str(), joined(v).c_str()),
                   [&](BleScannerInterface* s) {
                     s->SyncTxParameters(address, static_cast<uint8_t>(v[0]), static_cast<uint16_t>(v[1]),
                                         static_cast<uint16_t>(v[2]), static_cast<int>(v[3]));
                   });
}

bool registerCallbacks(Session& session, CommandArgs& args, std::string* error) {
  // The stack's scanning callbacks belong to its Java layer; a driver has none to offer.
  return onScanner(session, args, error, "RegisterCallbacks(null)",
                   [&](BleScannerInterface* s) { s->RegisterCallbacks(nullptr); });
}

}  // namespace

std::vector<CommandEntry> ScannerCommands() {
  const std::string tag = "02:51:b0:00:00:02";
  return {
      {"scanner", "scanner", "register", "UUID", "RegisterScanner (scanner.register_cb, inline, gives scanner_id)", 1,
       1, false, registerScanner, "scanner register 0000cccc-0000-1000-8000-00805f9b34fb"},
      {"scanner", "scanner", "unregister", "SCANNER_ID", "Unregister", 1, 1, false, unregisterScanner,
       "scanner unregister $scanner"},
      {"scanner", "scanner", "scan", "on|off", "start or stop LE scanning (scan_result_cb)", 1, 1, false, scan,
       "scanner scan on"},
      {"scanner", "scanner", "set_parameters", "SCANNER_ID INTERVAL WINDOW",
       "SetScanParameters (scanner.set_parameters_cb, inline)", 3, 3, false, setScanParameters,
       "scanner set_parameters $scanner 96 48"},
      {"scanner", "scanner", "filter_param_setup", "CLIENT_IF ACTION FILT_INDEX [null]",
       "ScanFilterParamSetup with empty parameters or none (scanner.filter_param_setup_cb, inline)", 3, 4, false,
       filterParamSetup, "scanner filter_param_setup $scanner 2 0"},
      {"scanner", "scanner", "filter_add", "FILT_INDEX [ADDR]",
       "ScanFilterAdd with no filter or one address filter (scanner.filter_add_cb, inline)", 1, 2, false, filterAdd,
       "scanner filter_add 0 " + tag},
      {"scanner", "scanner", "filter_clear", "FILT_INDEX", "ScanFilterClear (scanner.filter_clear_cb, inline)", 1, 1,
       false, filterClear, "scanner filter_clear 0"},
      {"scanner", "scanner", "filter_enable", "on|off", "ScanFilterEnable (scanner.filter_enable_cb, inline)", 1, 1,
       false, filterEnable, "scanner filter_enable on"},
      {"scanner", "scanner", "batchscan_config_storage", "CLIENT_IF FULL_MAX TRUNC_MAX THRESHOLD",
       "BatchscanConfigStorage (scanner.batchscan_config_storage_cb, inline)", 4, 4, false, batchscanConfigStorage,
       "scanner batchscan_config_storage $scanner 50 50 95"},
      {"scanner", "scanner", "batchscan_enable", "MODE INTERVAL WINDOW ADDR_TYPE DISCARD_RULE",
       "BatchscanEnable (scanner.batchscan_enable_cb, inline)", 5, 5, false, batchscanEnable,
       "scanner batchscan_enable 1 96 48 0 0"},
      {"scanner", "scanner", "batchscan_disable", "", "BatchscanDisable (scanner.batchscan_disable_cb, inline)", 0, 0,
       false, batchscanDisable, "scanner batchscan_disable"},
      {"scanner", "scanner", "batchscan_read_reports", "CLIENT_IF MODE", "BatchscanReadReports", 2, 2, false,
       batchscanReadReports, "scanner batchscan_read_reports $scanner 1"},
      {"scanner", "scanner", "start_sync", "SID ADDR SKIP TIMEOUT REG_ID", "StartSync", 5, 5, false, startSync,
       "scanner start_sync 1 " + tag + " 0 100 1"},
      {"scanner", "scanner", "stop_sync", "HANDLE", "StopSync", 1, 1, false, stopSync, "scanner stop_sync 1"},
      {"scanner", "scanner", "cancel_create_sync", "SID ADDR", "CancelCreateSync", 2, 2, false, cancelCreateSync,
       "scanner cancel_create_sync 1 " + tag},
      {"scanner", "scanner", "transfer_sync", "ADDR SERVICE_DATA SYNC_HANDLE PA_SOURCE", "TransferSync", 4, 4, false,
       transferSync, "scanner transfer_sync " + tag + " 0 1 0"},
      {"scanner", "scanner", "transfer_set_info", "ADDR SERVICE_DATA ADV_HANDLE PA_SOURCE", "TransferSetInfo", 4, 4,
       false, transferSetInfo, "scanner transfer_set_info " + tag + " 0 1 0"},
      {"scanner", "scanner", "sync_tx_parameters", "ADDR MODE SKIP TIMEOUT REG_ID", "SyncTxParameters", 5, 5, false,
       syncTxParameters, "scanner sync_tx_parameters " + tag + " 0 0 100 1"},
      {"scanner", "scanner", "register_callbacks", "", "RegisterCallbacks with no scanning callbacks", 0, 0, false,
       registerCallbacks, "scanner register_callbacks"},
  };
}

}  // namespace bttev
}  // namespace tev
